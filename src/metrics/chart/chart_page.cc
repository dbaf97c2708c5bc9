#include "metrics/chart/chart_page.h"

#include <algorithm>
#include <array>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "metrics/chart/chart_data.h"
#include "metrics/chart/page_text.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

using vrn::data::metrics::SymbolTable;

// A page is a state of the store: no cache may show an older one.
constexpr char head[] =
    "<!DOCTYPE html>\n<html>\n<head>\n"
    "<meta charset=\"UTF-8\">\n"
    "<meta http-equiv=\"Cache-Control\" content=\"no-cache, no-store, must-revalidate\">\n"
    "<meta http-equiv=\"Pragma\" content=\"no-cache\">\n"
    "<meta http-equiv=\"Expires\" content=\"0\">\n"
    "<title>Metrics Cache Contents</title>\n"
    "<!-- Chart.js and dependencies embedded inline -->\n"
    "</head>\n<body>\n"
    "<div class=\"container\">\n"
    "<h1 class=\"chart-title\">Metrics Cache Contents</h1>\n";

constexpr char metric_selector_begin[] =
    "<div class=\"controls\">\n"
    "<div class=\"controls-row\">\n"
    "<div class=\"control-group\">\n"
    "<label for=\"metricSelect\">Select Metrics (hold Ctrl/Cmd for multiple):</label>\n"
    "<select id=\"metricSelect\" multiple size=\"5\" onchange=\"updateChart()\">\n";

constexpr char label_selector[] =
    "</select>\n"
    "</div>\n"
    "<div class=\"control-group\">\n"
    "<label for=\"labelSelect\">"
    "Filter by Labels (hold Ctrl/Cmd for multiple, empty = all):</label>\n"
    "<select id=\"labelSelect\" multiple size=\"8\" onchange=\"updateChart()\">\n"
    "</select>\n"
    "</div>\n"
    "</div>\n"
    "</div>\n";

constexpr char chart_area[] =
    "<div id=\"controlButtonsContainer\"></div>\n"
    "<div class=\"chart-container\">\n"
    "<canvas id=\"metricsChart\"></canvas>\n"
    "</div>\n"
    "<div id=\"metricInfo\" class=\"metric-info\"></div>\n"
    "</div>\n";

constexpr std::array<const char *, CHART_LIBRARY_COUNT> library_titles = {
    "// Chart.js\n",
    "// Chart.js Date-fns Adapter\n",
    "// Chart.js Zoom Plugin\n",
};

struct MetricOption {
    std::string name;
    std::uint64_t metric_id;
};

// The distinct metrics by name. One without a name is left out after an error line.
std::vector<MetricOption> metric_options(const MetricsCatalog &catalog,
                                         const std::vector<SeriesKey> &keys) {
    std::unordered_set<std::uint64_t> seen;
    std::vector<MetricOption> options;
    for (const SeriesKey &key : keys) {
        if (!seen.insert(key.metric_id).second) continue;
        try {
            options.push_back({catalog.symbols().lookup(key.metric_id), key.metric_id});
        } catch (const SymbolTable::SymbolNotFoundError &error) {
            VRN_LOG(VRN_LOG_ERROR, "[vrn metrics data] Failed to get metric name: %s",
                    error.what());
        }
    }
    std::ranges::sort(options, {}, &MetricOption::name);
    return options;
}

void write_selectors(std::ostream &out, const std::vector<MetricOption> &options) {
    out << metric_selector_begin;
    for (const MetricOption &option : options) {
        out << "<option value=\"" << option.metric_id << "\">" << markup_text(option.name)
            << "</option>\n";
    }
    out << label_selector;
}

// A page that lacks a script is of no use; the stream tells so as it tells of a full disk.
void write_script(std::ostream &out, const char *script) {
    if (script)
        out << script;
    else
        out.setstate(std::ios::failbit);
}

// Deliberate: the libraries stand in the table of modules a second time.
void write_scripts(std::ostream &out, const ChartScripts &scripts) {
    out << "// === Embedded Vendor JavaScript Libraries ===\n";
    for (std::size_t i = 0; i < library_titles.size(); ++i) {
        out << library_titles[i];
        write_script(out, scripts[i]);
        out << ";\n\n";
    }
    out << "// === Metrics JavaScript Components ===\n";
    for (std::size_t i = 0; i < scripts.size(); ++i) {
        out << "\n// Module " << i + 1 << " of " << scripts.size() << "\n";
        write_script(out, scripts[i]);
        out << "\n";
    }
}

// What the data are thinned to, so that the scripts need not assume it.
void write_configuration(std::ostream &out, std::size_t footprint) {
    const std::pair<const char *, std::uint64_t> settings[] = {
        {"TYPICAL_WIDTH_PX", VISUAL_CHART_WIDTH_PX},
        {"POINT_HOVER_RADIUS_PX", VISUAL_POINT_HOVER_RADIUS},
        {"MIN_POINT_SPACING_PX", VISUAL_MIN_POINT_SPACING},
        {"MAX_VISUAL_DATA_POINTS", VISUAL_DATA_POINTS},
        {"MAX_ORIGINAL_DATA_POINTS", ORIGINAL_DATA_POINTS},
    };
    out << "// === Chart Configuration ===\n";
    for (const auto &[name, value] : settings)
        out << "CHART_CONFIG." << name << " = " << value << ";\n";
    out << "metricsDataFootprint = " << footprint << ";\n";
}

// A chart shows histograms as the plain series that are derived from them.
void refuse_histogram(const MetricsCatalog &catalog, std::uint64_t metric_id) {
    VRN_LOG(VRN_LOG_ERROR,
            "[vrn typed metrics data] Skipping histogram visualization for metric: %s",
            catalog.symbols().lookup(metric_id).c_str());
}

bool is_numeric(ValueType type) {
    return type == ValueType::uint64 || type == ValueType::float64 || type == ValueType::bits64 ||
           type == ValueType::int64;
}

// Calls `show` with the label text and the samples of each series that the page can show.
template <typename Store, typename Show>
void show_series(const Store &store, const std::vector<SeriesKey> &keys, Show show) {
    const auto show_one = [&](const SeriesKey &key) {
        const auto labels = store.label_sets().find(key.label_set);
        // A series of unknown labels is left out without a word.
        if (labels == store.label_sets().end()) return;
        const std::string label_text = chart_label_text(store, labels->second);
        const ValueType type = store.metric_type(key.metric_id);
        if (type == ValueType::histogram) return refuse_histogram(store, key.metric_id);
        if (!is_numeric(type)) return;
        Samples samples;
        // 0 to 0: the whole series.
        if (!store.samples_in_range(key, 0, 0, &samples)) return;
        show(key.metric_id, label_text, samples);
    };
    for (const SeriesKey &key : keys) {
        try {
            show_one(key);
        } catch (const std::bad_alloc &) {
            throw;
        } catch (const std::exception &) {
            continue;  // the other series are worth a page
        }
    }
}

template <typename Store>
void write_all_series(std::ostream &out, const Store &store, const std::vector<SeriesKey> &keys) {
    out << "\n// === Metrics Data ===\n";
    show_series(
        store, keys,
        [&](std::uint64_t metric_id, const std::string &label_text, const Samples &samples) {
            write_chart_datasets(out, metric_id, label_text, samples);
        });
}

// The series of the metrics as JSON: `open` begins what stands for a metric, `close` ends it.
template <typename Store, typename Open, typename Close>
void append_points(const Store &store, const std::vector<SeriesKey> &keys, Open open, Close close,
                   TextBuffer *text) {
    std::optional<std::uint64_t> current;
    show_series(
        store, keys,
        [&](std::uint64_t metric_id, const std::string &label_text, const Samples &samples) {
            if (current == metric_id) {
                text->append(',');
            } else {
                if (current) close();
                open(metric_id);
            }
            append_chart_points(label_text, samples, text);
            current = metric_id;
        });
    if (current) close();
}

// A metric's points as an element that runs no script, which the page reads when it is chosen.
template <typename Store>
void write_point_elements(std::ostream &out, const Store &store,
                          const std::vector<SeriesKey> &keys) {
    TextBuffer text;
    const auto open = [&](std::uint64_t metric_id) {
        out << text.view();
        text.clear();
        text.append("<script type=\"application/json\" id=\"points");
        text.integer(metric_id);
        text.append("\">[");
    };
    append_points(
        store, keys, open, [&] { text.append("]</script>\n"); }, &text);
    out << text.view();
}

struct StoreSize {
    std::uint64_t series = 0;
    std::uint64_t samples = 0;
    std::uint64_t detailed_points = 0;
};

template <typename Store>
StoreSize size_of(const Store &store, const std::vector<SeriesKey> &keys) {
    StoreSize size;
    for (const SeriesKey &key : keys) {
        if (!is_numeric(store.metric_type(key.metric_id))) continue;
        const std::uint64_t count = store.count_samples(key, 0, 0);
        ++size.series;
        size.samples += count;
        size.detailed_points += std::min(count, ORIGINAL_DATA_POINTS);
    }
    return size;
}

// Only what differs from the page without options.
void write_options(std::ostream &out, const ChartPageOptions &options, const StoreSize *apart,
                   const std::vector<MetricOption> &metrics) {
    if (!options.has_host) out << "PAGE_OPTIONS.hasHost = false;\n";
    if (options.is_live) out << "PAGE_OPTIONS.isLive = true;\n";
    if (apart)
        out << "PAGE_OPTIONS.totals = {metrics: " << metrics.size() << ", series: " << apart->series
            << ", points: " << apart->samples << "};\n";
    if (!options.notice.empty())
        out << "PAGE_OPTIONS.notice = '" << script_text(options.notice) << "';\n";
    if (!options.shows_first) return;
    out << "PAGE_OPTIONS.firstMetrics = [";
    const char *separator = "";
    for (const MetricOption &metric : metrics) {
        if (!options.shows_first(metric.name)) continue;
        out << separator << '\'' << metric.metric_id << '\'';
        separator = ", ";
    }
    out << "];\n";
}

template <typename Store>
void write_page(std::ostream &out, const Store &store, const ChartPageOptions &options,
                const ChartScripts &scripts) {
    const std::vector<SeriesKey> keys = store.series_keys();
    const std::vector<MetricOption> metrics = metric_options(store, keys);
    const StoreSize size = size_of(store, keys);
    const bool is_apart = size.detailed_points > options.max_script_points;
    out << head;
    write_selectors(out, metrics);
    out << chart_area;
    out << "<script>\n";
    write_scripts(out, scripts);
    write_configuration(out, store.footprint());
    write_options(out, options, is_apart ? &size : nullptr, metrics);
    if (!is_apart) write_all_series(out, store, keys);
    out << "</script>\n";
    if (is_apart && !options.has_host) write_point_elements(out, store, keys);
    out << "</body>\n</html>\n";
}

}  // namespace

template <typename Store>
void write_chart_page(std::ostream &out, const Store &store, std::uint64_t /*argument*/,
                      const ChartScripts &scripts) {
    write_page(out, store, {}, scripts);
}

template <typename Store>
void write_chart_page(std::ostream &out, const Store &store, const ChartPageOptions &options) {
    write_page(out, store, options, chart_scripts);
}

template <typename Store>
void write_chart_points(std::ostream &out, const Store &store,
                        std::span<const std::uint64_t> metric_ids) {
    const std::unordered_set<std::uint64_t> wanted(metric_ids.begin(), metric_ids.end());
    std::vector<SeriesKey> keys = store.series_keys();
    std::erase_if(keys, [&](const SeriesKey &key) { return !wanted.contains(key.metric_id); });
    TextBuffer text;
    const char *separator = "{";
    const auto open = [&](std::uint64_t metric_id) {
        text.append(separator);
        separator = ",";
        text.append("\n\"");
        text.integer(metric_id);
        text.append("\":[");
    };
    append_points(
        store, keys, open, [&] { text.append(']'); }, &text);
    out << (text.size() == 0 ? "{" : "") << text.view() << "\n}\n";
}

template void write_chart_page(std::ostream &, const MetricsHistory &, std::uint64_t,
                               const ChartScripts &);
template void write_chart_page(std::ostream &, const MetricsCurrent &, std::uint64_t,
                               const ChartScripts &);
template void write_chart_page(std::ostream &, const MetricsHistory &, const ChartPageOptions &);
template void write_chart_page(std::ostream &, const MetricsCurrent &, const ChartPageOptions &);
template void write_chart_points(std::ostream &, const MetricsHistory &,
                                 std::span<const std::uint64_t>);
template void write_chart_points(std::ostream &, const MetricsCurrent &,
                                 std::span<const std::uint64_t>);

}  // namespace vrn::metrics
