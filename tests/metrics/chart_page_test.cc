#include "metrics/chart_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "metrics/chart_data.h"
#include "support/captured_log.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using vrn::data::metrics::Bit64Tag;
using vrn::data::metrics::UInt64Tag;

constexpr ChartScripts short_scripts = {"L1", "L2", "L3", "M1", "M2", "M3",
                                        "M4", "M5", "M6", "M7", "M8", "M9"};

template <typename Store>
std::string page_of(const Store &store) {
    std::ostringstream out;
    write_chart_page(out, store, 0, short_scripts);
    EXPECT_TRUE(out.good());
    return out.str();
}

// What stands between the title of the data and the end of the script.
template <typename Store>
std::string data_of(const Store &store) {
    const std::string page = page_of(store);
    const std::string title = "// === Metrics Data ===\n";
    const std::size_t begin = page.find(title) + title.size();
    return page.substr(begin, page.find("</script>") - begin);
}

// Everything of a page around its options, footprint and data.
std::string golden_page(const std::string &options, std::size_t footprint,
                        const std::string &data) {
    return R"html(<!DOCTYPE html>
<html>
<head>
<meta charset="UTF-8">
<meta http-equiv="Cache-Control" content="no-cache, no-store, must-revalidate">
<meta http-equiv="Pragma" content="no-cache">
<meta http-equiv="Expires" content="0">
<title>Metrics Cache Contents</title>
<!-- Chart.js and dependencies embedded inline -->
</head>
<body>
<div class="container">
<h1 class="chart-title">Metrics Cache Contents</h1>
<div class="controls">
<div class="controls-row">
<div class="control-group">
<label for="metricSelect">Select Metrics (hold Ctrl/Cmd for multiple):</label>
<select id="metricSelect" multiple size="5" onchange="updateChart()">
)html" + options +
           R"html(</select>
</div>
<div class="control-group">
<label for="labelSelect">Filter by Labels (hold Ctrl/Cmd for multiple, empty = all):</label>
<select id="labelSelect" multiple size="8" onchange="updateChart()">
</select>
</div>
</div>
</div>
<div id="controlButtonsContainer"></div>
<div class="chart-container">
<canvas id="metricsChart"></canvas>
</div>
<div id="metricInfo" class="metric-info"></div>
</div>
<script>
// === Embedded Vendor JavaScript Libraries ===
// Chart.js
L1;

// Chart.js Date-fns Adapter
L2;

// Chart.js Zoom Plugin
L3;

// === Metrics JavaScript Components ===

// Module 1 of 12
L1

// Module 2 of 12
L2

// Module 3 of 12
L3

// Module 4 of 12
M1

// Module 5 of 12
M2

// Module 6 of 12
M3

// Module 7 of 12
M4

// Module 8 of 12
M5

// Module 9 of 12
M6

// Module 10 of 12
M7

// Module 11 of 12
M8

// Module 12 of 12
M9
// === Chart Configuration ===
CHART_CONFIG.TYPICAL_WIDTH_PX = 2000;
CHART_CONFIG.POINT_HOVER_RADIUS_PX = 6;
CHART_CONFIG.MIN_POINT_SPACING_PX = 2;
CHART_CONFIG.MAX_VISUAL_DATA_POINTS = 142;
CHART_CONFIG.MAX_ORIGINAL_DATA_POINTS = 426;
metricsDataFootprint = )html" +
           std::to_string(footprint) + R"html(;

// === Metrics Data ===
)html" + data +
           R"html(</script>
</body>
</html>
)html";
}

// Both datasets of a series whose points fit in either.
std::string golden_series(std::uint64_t metric_id, const std::string &label, std::size_t count,
                          const std::string &points) {
    const std::string id = "[" + std::to_string(metric_id) + "]";
    const auto dataset = [&](const std::string &object) {
        return "if (!" + object + id + ") " + object + id + " = [];\n" + object + id +
               ".push({\n  label: '" + label +
               "',\n  originalDataPointsCount: " + std::to_string(count) + ",\n  data: [" + points +
               "]";
    };
    return dataset("originalMetricsData") + "\n});\n" + dataset("metricsData") +
           ",\n"
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
           "  pointHoverBorderWidth: 3\n"
           "});\n";
}

std::string option_of(std::uint64_t metric_id, const std::string &text) {
    return "<option value=\"" + std::to_string(metric_id) + "\">" + text + "</option>\n";
}

template <typename Store>
class ChartPageOf : public testing::Test {
  public:
    ChartPageOf() { store.set_default_capacity(1000); }

    template <typename T>
    auto &series(const std::string &name, const LabelMap &labels) {
        const std::uint64_t metric_id = store.intern(name);
        return store.template get_series<T>(metric_id, store.intern_labels(labels));
    }

    std::uint64_t id(const std::string &name) { return store.intern(name); }

    Store store;
    vrn::test::CapturedLog log{VRN_LOG_DEBUG};
};

using ChartPage = ChartPageOf<MetricsHistory>;
using CurrentChartPage = ChartPageOf<MetricsCurrent>;

TEST_F(ChartPage, OfAnEmptyStoreIsComplete) {
    EXPECT_EQ(page_of(store), golden_page("", store.footprint(), ""));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(ChartPage, HoldsSeriesByValueTypeAndOptionsByName) {
    series<double>("temperature <max>", {}).push(1'700'000'000'001'999, 1.5);
    series<double>("temperature <max>", {}).push(1'700'000'001'000'000, 1234567.0);
    series<UInt64Tag>("bytes & packets", {{"port", "1"}})
        .push(5'000, std::numeric_limits<std::uint64_t>::max());
    series<long>("offset", {{"port", "1"}}).push(999, -7);
    series<Bit64Tag>("flags \r\n", {}).push(2'000, 255);

    const std::string options = option_of(id("bytes & packets"), "bytes &amp; packets") +
                                option_of(id("flags \r\n"), "flags &#13;\n") +
                                option_of(id("offset"), "offset") +
                                option_of(id("temperature <max>"), "temperature &lt;max&gt;");
    const std::string data =
        golden_series(id("bytes & packets"), "port=1", 1, "{x: 5, y: 18446744073709551615}") +
        golden_series(id("offset"), "port=1", 1, "{x: 0, y: -7}") +
        golden_series(id("temperature <max>"), "", 2,
                      "{x: 1700000000001, y: 1.5}, {x: 1700000001000, y: 1.23457e+06}") +
        golden_series(id("flags \r\n"), "", 1, "{x: 2, y: 255}");
    EXPECT_EQ(page_of(store), golden_page(options, store.footprint(), data));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(CurrentChartPage, HoldsTheNewestPointOfASeries) {
    series<UInt64Tag>("m", {{"a", "b"}}).push(1'000, 1);
    series<UInt64Tag>("m", {{"a", "b"}}).push(2'000, 2);
    EXPECT_EQ(page_of(store), golden_page(option_of(id("m"), "m"), store.footprint(),
                                          golden_series(id("m"), "a=b", 1, "{x: 2, y: 2}")));
}

TEST_F(ChartPage, LeavesOutWhatHasNoNumbers) {
    series<HistogramBuckets>("latency", {}).push(1, {});
    series<std::string>("version", {}).push(1, "1.0");
    EXPECT_EQ(data_of(store), "");
    EXPECT_THAT(log.take(),
                ElementsAre("3 [vrn typed metrics data] Skipping histogram visualization for "
                            "metric: latency"));
}

TEST_F(ChartPage, LeavesOutASeriesOfAnUnknownLabelSet) {
    store.get_series<UInt64Tag>(id("m"), 17).push(1, 1);
    EXPECT_EQ(page_of(store), golden_page(option_of(id("m"), "m"), store.footprint(), ""));
}

TEST_F(ChartPage, LeavesOutAMetricWithoutRegisteredType) {
    store.set_register_types(false);
    series<UInt64Tag>("m", {}).push(1, 1);
    EXPECT_EQ(data_of(store), "");
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(ChartPage, HasNoOptionForAMetricWithoutName) {
    series<UInt64Tag>("m", {}).push(1'000, 1);
    const std::uint64_t metric_id = id("m");
    store.release_labels({{metric_id, metric_id}});  // both uses
    EXPECT_EQ(page_of(store),
              golden_page("", store.footprint(), golden_series(metric_id, "", 1, "{x: 1, y: 1}")));
    EXPECT_THAT(log.take(),
                ElementsAre(HasSubstr("3 [vrn metrics data] Failed to get metric name: ")));
}

TEST_F(ChartPage, JoinsLabelsAndNamesThoseWithoutTextUnknown) {
    const LabelIds labels = {{id("port"), id("1")}, {7, 8}};
    std::vector<std::string> pairs;
    for (const auto &[name, value] : labels)
        pairs.push_back(name == 7 ? "unknown_label=unknown_value" : "port=1");
    EXPECT_EQ(chart_label_text(store, labels), pairs[0] + ", " + pairs[1]);
    EXPECT_EQ(chart_label_text(store, {}), "");
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(ChartPage, WritesLabelsWithoutEscaping) {
    series<UInt64Tag>("m", {{"path", "it's \\x"}}).push(1'000, 1);
    EXPECT_EQ(data_of(store), golden_series(id("m"), "path=it's \\x", 1, "{x: 1, y: 1}"));
}

TEST_F(ChartPage, WritesValuesThatAreNoNumbersInTheWordsOfThePage) {
    series<double>("m", {}).push(1'000, std::numeric_limits<double>::infinity());
    series<double>("m", {}).push(2'000, std::nan(""));
    EXPECT_EQ(data_of(store), golden_series(id("m"), "", 2, "{x: 1, y: inf}, {x: 2, y: nan}"));
}

TEST_F(ChartPage, ThinsEachDatasetToItsSize) {
    for (std::uint64_t i = 0; i < 143; ++i) series<UInt64Tag>("m", {}).push(i * 1000, i);
    const std::string data = data_of(store);
    const std::size_t visual = data.find("\nif (!metricsData");
    const auto count = [](const std::string &text) {
        return std::ranges::count(text, '{') - 1;  // the dataset has a brace, too
    };
    EXPECT_EQ(count(data.substr(0, visual)), 143);
    EXPECT_EQ(count(data.substr(visual)), 142);
    EXPECT_THAT(data.substr(visual), HasSubstr("data: [{x: 0, y: 0}, "));
    EXPECT_THAT(data.substr(visual), HasSubstr(", {x: 142, y: 142}],\n"));
}

TEST_F(ChartPage, GoesOnBehindAMissingLibrary) {
    ChartScripts scripts = short_scripts;
    scripts[1] = nullptr;
    std::ostringstream out;
    write_chart_page(out, store, 0, scripts);
    EXPECT_TRUE(out.fail());
    EXPECT_THAT(out.str(), testing::EndsWith("// Chart.js Date-fns Adapter\n"));
}

TEST_F(ChartPage, CarriesTheEmbeddedScripts) {
    std::ostringstream out;
    write_chart_page(out, store, 0);
    const std::string page = out.str();
    for (const char *script : chart_scripts) EXPECT_NE(page.find(script), std::string::npos);
    EXPECT_THAT(chart_scripts[0], HasSubstr("Chart.js v4.4.1"));
    EXPECT_THAT(chart_scripts[1], HasSubstr("chartjs-adapter-date-fns v3.0.0"));
    EXPECT_THAT(chart_scripts[2], HasSubstr("chartjs-plugin-zoom v2.0.1"));
    EXPECT_THAT(chart_scripts[11], testing::EndsWith("setTimeout(initializeUI, 50));\n"));
}

TEST(ThinIndices, KeepTheEndsAndSpreadEvenly) {
    const struct {
        std::size_t count, target;
        std::vector<std::size_t> expected;
    } cases[] = {
        {0, 3, {}},     {3, 3, {0, 1, 2}},     {4, 3, {0, 1, 3}},      {5, 2, {0, 4}},
        {5, 1, {0, 4}}, {10, 4, {0, 3, 6, 9}}, {11, 4, {0, 3, 6, 10}}, {8, 5, {0, 1, 3, 5, 7}},
    };
    for (const auto &[count, target, expected] : cases) {
        SCOPED_TRACE(std::to_string(count) + " to " + std::to_string(target));
        EXPECT_EQ(thin_indices(count, target), expected);
    }
}

}  // namespace
}  // namespace vrn::metrics
