#include "metrics/chart/chart_data.h"

#include <charconv>
#include <cmath>
#include <numeric>
#include <type_traits>
#include <variant>

namespace vrn::metrics {
namespace {

using vrn::data::metrics::SymbolTable;

// Deliberate: getNextColor() runs twice, so that line and filling differ and each dataset takes two
// colours of the palette.
constexpr char visual_style[] =
    "  borderColor: getNextColor(),\n"
    "  backgroundColor: getNextColor().replace('1)', '0.1)'),\n"
    "  fill: false,\n"
    "  tension: 0.1,\n"
    "  pointRadius: 3,\n"
    "  pointHoverRadius: 6,\n"
    "  pointHitRadius: 10,\n"
    "  pointStyle: 'circle',\n"
    "  pointBackgroundColor: 'rgba(255,255,255,0.8)',\n"
    "  pointBorderWidth: 2,\n"
    "  pointHoverBorderWidth: 3\n";

// The page holds each series twice: in more detail for zooming, and thinned to what a chart of
// usual width can show. One dataset of one of the two objects of the page.
struct Dataset {
    const char *object;
    std::uint64_t target;  // points
    const char *data_end;  // after the last point
};

constexpr Dataset detailed_dataset = {"originalMetricsData", ORIGINAL_DATA_POINTS, "]\n"};
constexpr Dataset visual_dataset = {"metricsData", VISUAL_DATA_POINTS, "],\n"};

std::string label_pair_text(const MetricsCatalog &catalog, std::uint64_t name,
                            std::uint64_t value) {
    try {
        return catalog.symbols().lookup(name) + "=" + catalog.symbols().lookup(value);
    } catch (const SymbolTable::SymbolNotFoundError &) {
        // Not logged: the page shows it.
        return "unknown_label=unknown_value";
    }
}

constexpr std::uint64_t microseconds_per_ms = 1000;

template <typename T>
void append_value(T value, TextBuffer *text) {
    if constexpr (std::is_integral_v<T>) {
        text->integer(value);
    } else if (std::isfinite(value)) {
        constexpr std::size_t room = 32;
        char *const begin = text->reserve(room);
        text->advance_to(std::to_chars(begin, begin + room, value).ptr);
    } else {
        text->append("null");
    }
}

// `append` is called with the index of each sample.
template <typename Append>
void append_list(std::string_view name, const std::vector<std::size_t> &indices, Append append,
                 TextBuffer *text) {
    text->append(name);
    for (const std::size_t i : indices) {
        append(i);
        text->append(',');
    }
    if (!indices.empty()) text->cut(text->size() - 1);
    text->append(']');
}

template <typename T>
void write_dataset(std::ostream &out, const Dataset &dataset, std::uint64_t metric_id,
                   const std::string &label_text, const std::vector<std::uint64_t> &timestamps,
                   const std::vector<T> &values) {
    const char *object = dataset.object;
    out << "if (!" << object << "[" << metric_id << "]) " << object << "[" << metric_id
        << "] = [];\n"
        << object << "[" << metric_id << "].push({\n"
        << "  label: '" << label_text
        << "',\n"
        // Of all samples, not of those that are left: the page tells how many it saved.
        << "  originalDataPointsCount: " << values.size() << ",\n"
        << "  data: [";
    const char *separator = "";
    // Doubles have the six digits of the stream's own format.
    for (const std::size_t i : thin_indices(values.size(), dataset.target)) {
        out << separator << "{x: " << timestamps[i] / microseconds_per_ms << ", y: " << values[i]
            << "}";
        separator = ", ";
    }
    out << dataset.data_end;
}

}  // namespace

std::vector<std::size_t> thin_indices(std::size_t count, std::size_t target) {
    std::vector<std::size_t> indices;
    if (count <= target) {
        indices.resize(count);
        std::iota(indices.begin(), indices.end(), std::size_t{0});
        return indices;
    }
    indices.push_back(0);
    // Each index from the start, since steps that are added up would drift. A target below 3 leaves
    // the two ends.
    for (std::size_t i = 1; i + 2 <= target; ++i) {
        const double step = static_cast<double>(count - 1) / static_cast<double>(target - 1);
        indices.push_back(static_cast<std::size_t>(static_cast<double>(i) * step));
    }
    indices.push_back(count - 1);
    return indices;
}

// Nothing is escaped here: who takes labels from strangers has the store keep them in the form of
// script_text().
std::string chart_label_text(const MetricsCatalog &catalog, const LabelIds &labels) {
    std::string text;
    for (const auto &[name, value] : labels) {
        if (!text.empty()) text += ", ";
        text += label_pair_text(catalog, name, value);
    }
    return text;
}

void write_chart_datasets(std::ostream &out, std::uint64_t metric_id, const std::string &label_text,
                          const Samples &samples) {
    const auto write = [&]<typename T>(const std::vector<T> &values) {
        // Texts and histograms have no place on an axis of values.
        if constexpr (std::is_arithmetic_v<T>) {
            const auto &timestamps = samples.timestamps;
            write_dataset(out, detailed_dataset, metric_id, label_text, timestamps, values);
            out << "});\n";
            write_dataset(out, visual_dataset, metric_id, label_text, timestamps, values);
            out << visual_style << "});\n";
        }
    };
    std::visit(write, samples.values);
}

void append_chart_points(const std::string &label_text, const Samples &samples, TextBuffer *text) {
    const auto append = [&]<typename T>(const std::vector<T> &values) {
        if constexpr (std::is_arithmetic_v<T>) {
            const auto indices = thin_indices(values.size(), ORIGINAL_DATA_POINTS);
            text->append("{\"label\":\"");
            text->append(label_text);
            text->append("\",\"count\":");
            text->integer(values.size());
            std::int64_t last = 0;
            const auto append_time = [&](std::size_t i) {
                const auto time =
                    static_cast<std::int64_t>(samples.timestamps[i] / microseconds_per_ms);
                text->integer(time - last);
                last = time;
            };
            append_list(",\"x\":[", indices, append_time, text);
            append_list(
                ",\"y\":[", indices, [&](std::size_t i) { append_value(values[i], text); }, text);
            text->append('}');
        }
    };
    std::visit(append, samples.values);
}

}  // namespace vrn::metrics
