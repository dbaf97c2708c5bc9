#include "metrics/chart/chart_page.h"

#include <algorithm>
#include <array>
#include <exception>
#include <new>
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

template <typename Store>
void write_series(std::ostream &out, const Store &store, const SeriesKey &key) {
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
    write_chart_datasets(out, key.metric_id, label_text, samples);
}

template <typename Store>
void write_all_series(std::ostream &out, const Store &store, const std::vector<SeriesKey> &keys) {
    out << "\n// === Metrics Data ===\n";
    for (const SeriesKey &key : keys) {
        try {
            write_series(out, store, key);
        } catch (const std::bad_alloc &) {
            throw;
        } catch (const std::exception &) {
            continue;  // the other series are worth a page
        }
    }
}

}  // namespace

template <typename Store>
void write_chart_page(std::ostream &out, const Store &store, std::uint64_t /*argument*/,
                      const ChartScripts &scripts) {
    const std::vector<SeriesKey> keys = store.series_keys();
    out << head;
    write_selectors(out, metric_options(store, keys));
    out << chart_area;
    out << "<script>\n";
    write_scripts(out, scripts);
    write_configuration(out, store.footprint());
    write_all_series(out, store, keys);
    out << "</script>\n"
        << "</body>\n</html>\n";
}

template void write_chart_page(std::ostream &, const MetricsHistory &, std::uint64_t,
                               const ChartScripts &);
template void write_chart_page(std::ostream &, const MetricsCurrent &, std::uint64_t,
                               const ChartScripts &);

}  // namespace vrn::metrics
