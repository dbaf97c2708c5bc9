#include "vrn_serve/open_metrics.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <set>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "utils/utf8.h"
#include "vrn_serve/series_list.h"

namespace vrn::serve {
namespace {

constexpr std::uint64_t second_us = 1'000'000;

struct OwnMetric {
    const char *name;
    const char *type;
    const char *help;
    std::uint64_t value;
};

std::string safe_name(const std::string &name) {
    std::string safe = name;
    std::ranges::replace_if(
        safe,
        [](unsigned char byte) { return byte >= 0x80 || (std::isalnum(byte) == 0 && byte != '_'); },
        '_');
    // Two underscores begin what the reader means for itself.
    if (safe.empty() || std::isdigit(static_cast<unsigned char>(safe[0])) != 0 ||
        safe.starts_with("__"))
        safe.insert(0, "x");
    return safe;
}

// A text between quotes, or after HELP.
std::string escaped(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const Utf8Character character = first_utf8_character(text);
        text.remove_prefix(character.bytes.size());
        // A byte that is no UTF-8 would make the reader refuse everything.
        if (character.is_bad_byte())
            out += "\xef\xbf\xbd";
        else if (character.code == '\n')
            out += "\\n";
        else if (character.code == '"' || character.code == '\\')
            out.append("\\").append(character.bytes);
        else
            out += character.bytes;
    }
    return out;
}

std::string value_text(double value) {
    // The format has words of its own for these.
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value > 0 ? "+Inf" : "-Inf";
    return number_text(value);
}
std::string value_text(std::uint64_t value) {
    return number_text(value);
}
std::string value_text(long value) {
    return number_text(value);
}

std::string time_text(std::uint64_t time_us, MetricsForm form) {
    // In milliseconds; the newer form wants seconds.
    if (form == MetricsForm::plain) return std::to_string(time_us / 1000);
    // A leading 1, which is cut off, keeps the zeros of the fraction.
    const std::string fraction = std::to_string(second_us + time_us % second_us).substr(1);
    return std::to_string(time_us / second_us) + "." + fraction;
}

// "VALUE TIME" of the newest sample; empty when there is none.
std::string newest_text(const metrics::MetricsHistory &store, const metrics::SeriesKey &key,
                        MetricsForm form) {
    metrics::Samples samples;
    if (!store.last_samples(key, 1, &samples)) return "";
    const auto text_of = [&]<typename T>(const std::vector<T> &values) -> std::string {
        if constexpr (std::is_arithmetic_v<T>)
            if (!values.empty())
                return value_text(values[0]) + " " + time_text(samples.timestamps[0], form);
        return "";
    };
    return std::visit(text_of, samples.values);
}

std::string labels_text(const NamedSeries &series) {
    std::set<std::string> used;
    std::string text;
    for (const auto &[name, value] : series.labels) {
        std::string safe = safe_name(name);
        // Two names may come out alike, and a label given twice is an error.
        while (!used.insert(safe).second) safe += '_';
        if (!text.empty()) text += ',';
        text += safe + "=\"" + escaped(value) + '"';
    }
    return text;
}

class Exposition {
  public:
    explicit Exposition(MetricsForm form) : form_(form) {}

    void add_own(const OwnMetric &metric) {
        const std::string family = std::string("vrn_serve_") + metric.name;
        const bool is_counter = metric.type == std::string("counter");
        const std::string name = is_counter ? family + "_total" : family;
        // The older form calls a counter by the whole name.
        const std::string &head = form_ == MetricsForm::plain ? name : family;
        // Both are taken now: a series of that name in a file gets another.
        names_.insert({family, name});
        text_ += "# HELP " + head + " " + metric.help + "\n# TYPE " + head + " " + metric.type +
                 "\n" + name + " " + std::to_string(metric.value) + "\n";
    }

    // Series of one name follow each other.
    void add(const NamedSeries &series, const std::string &newest) {
        if (newest.empty()) return;
        if (series.name != raw_name_ || name_.empty()) begin_family(series.name);
        std::string labels = labels_text(series);
        // The same name and labels twice would be one series with two values.
        if (!label_texts_.insert(labels).second) {
            labels += (labels.empty() ? "" : ",") + std::string("series=\"") +
                      std::to_string(label_texts_.size()) + '"';
            if (!label_texts_.insert(labels).second) return;
        }
        text_ += name_ + (labels.empty() ? "" : "{" + labels + "}") + " " + newest + "\n";
    }

    std::string finish() {
        // Its end mark tells a whole text from one that was cut.
        return std::move(text_) + (form_ == MetricsForm::plain ? "" : "# EOF\n");
    }

  private:
    void begin_family(const std::string &raw_name) {
        raw_name_ = raw_name;
        name_ = safe_name(raw_name);
        while (!names_.insert(name_).second) name_ += '_';
        label_texts_.clear();
        // The name as the file has it, for those who search for it.
        text_ += "# HELP " + name_ + " " + escaped(raw_name) + "\n";
    }

    const MetricsForm form_;
    std::string text_;
    std::set<std::string> names_;  // of families
    std::string raw_name_;
    std::string name_;
    std::set<std::string> label_texts_;  // in the family
};

}  // namespace

const char *content_type_of(MetricsForm form) {
    return form == MetricsForm::plain
               ? "text/plain; version=0.0.4; charset=utf-8"
               : "application/openmetrics-text; version=1.0.0; charset=utf-8";
}

std::string metrics_text(const LiveStore &store, const FollowState &files, MetricsForm form) {
    const StoreState state = store.state();
    const OwnMetric own[] = {
        {"files", "gauge", "Files that are followed.", files.files},
        {"files_waiting", "gauge", "Files with something to read.", files.waiting},
        {"file_losses", "counter", "Stretches of files not taken whole.", files.losses},
        {"series", "gauge", "Series in the store.", state.series},
        {"samples", "counter", "Samples taken.", state.taken_samples},
        {"series_dropped", "counter", "Series dropped by age or for room.", state.dropped_series},
        {"series_refused", "counter", "Series without room.", state.refused_series},
        {"samples_limit", "gauge", "Samples kept of a series.", state.samples_limit},
    };
    Exposition exposition(form);
    // Ours first: whatever files hold, it can't change these names.
    for (const OwnMetric &metric : own) exposition.add_own(metric);
    // Under one lock: no series of the list is gone when its turn comes.
    store.read([&](const metrics::MetricsHistory &history) {
        for (const NamedSeries &series : list_series(history))
            exposition.add(series, newest_text(history, series.key, form));
    });
    return exposition.finish();
}

}  // namespace vrn::serve
