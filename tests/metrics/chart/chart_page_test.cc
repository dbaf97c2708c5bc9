#include "metrics/chart/chart_page.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "metrics/chart/chart_data.h"
#include "metrics/chart/page_text.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using namespace metrics;
using data::metrics::Bit64Tag;
using data::metrics::UInt64Tag;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

constexpr ChartScripts short_scripts = {"L1", "L2", "L3", "M1", "M2", "M3",
                                        "M4", "M5", "M6", "M7", "M8", "M9"};

template <typename Store>
std::string page_of(const Store &store, const ChartScripts &scripts = short_scripts) {
    std::ostringstream out;
    write_chart_page(out, store, 0, scripts);
    EXPECT_EQ(out.fail(), !scripts[1]);
    return out.str();
}

// The options of the metrics and the points of the datasets.
template <typename Store>
Lines data_of(const Store &store) {
    Lines lines;
    std::istringstream page(page_of(store));
    for (std::string line; std::getline(page, line);)
        if (line.starts_with("<option") || line.starts_with("  data: ")) lines.push_back(line);
    return lines;
}

std::string option_of(std::uint64_t metric_id, const std::string &name) {
    return "<option value=\"" + std::to_string(metric_id) + "\">" + name + "</option>";
}

template <typename T, typename Store>
auto &series(Store &store, const std::string &name, const LabelMap &labels = {}) {
    return store.template get_series<T>(store.intern(name), store.intern_labels(labels));
}

void erase(std::string *text, const std::string &from, const std::string &to) {
    const std::size_t begin = text->find(from);
    text->erase(begin, text->find(to, begin) - begin);
}

TEST(ChartPage, IsTheGoldenPage) {
    MetricsHistory store;
    store.set_default_capacity(2);
    std::string golden = read_file(VRN_GOLDEN_PAGE);
    const auto page = [&](const MetricsHistory &shown) {
        std::string text = page_of(shown);
        erase(&text, "= " + std::to_string(shown.footprint()) + ";", ";");
        return text;
    };
    CapturedLog log;
    series<double>(store, "temperature <max>").push(1'700'000'000'001'999, 1.5);
    series<double>(store, "temperature <max>").push(1'700'000'001'000'000, 1234567.0);
    series<UInt64Tag>(store, "bytes & packets", {{"path", "it's \\x"}}).push(5'000, ~0ull);
    series<long>(store, "offset", {{"port", "1"}}).push(999, -7);
    series<Bit64Tag>(store, "flags").push(2'000, 255);
    EXPECT_EQ(page(store), golden);
    erase(&golden, "<option", "</select>");
    erase(&golden, "if (!originalMetricsData", "</script>");
    EXPECT_EQ(page(MetricsHistory()), golden);
    EXPECT_EQ(log.take(), Lines{});
}

TEST(ChartPage, TakesLabelsInTheFormOfTheStore) {
    MetricsHistory store;
    store.set_label_form(script_text);
    series<long>(store, "it's", {{"it's", "</script>"}}).push(1'000, 1);
    const std::string page = page_of(store);
    EXPECT_THAT(page, HasSubstr("  label: 'it\\u0027s=\\u003c/script>',\n"));
    EXPECT_THAT(page, HasSubstr(">it's</option>"));
}

TEST(ChartPage, LeavesOutWhatItCanNotShow) {
    MetricsHistory store;
    CapturedLog log(7);
    const std::uint64_t metric_id = store.intern("m");
    for (const std::uint64_t unknown_set : {17, 18})
        store.get_series<UInt64Tag>(metric_id, unknown_set).push(1, 1);
    series<std::string>(store, "n").push(1, "1.0");
    series<HistogramBuckets>(store, "o").push(1, {});
    store.set_register_types(false);
    series<UInt64Tag>(store, "p").push(1, 1);
    EXPECT_EQ(data_of(store),
              (Lines{option_of(metric_id, "m"), option_of(store.intern("n"), "n"),
                     option_of(store.intern("o"), "o"), option_of(store.intern("p"), "p")}));
    EXPECT_EQ(log.take(),
              Lines{"3 [vrn typed metrics data] Skipping histogram visualization for metric: o"});

    MetricsCurrent nameless;
    for (const double value : {1, 2}) series<double>(nameless, "m").push(1'000, value);
    nameless.release_labels({{metric_id, metric_id}});  // both uses
    EXPECT_EQ(data_of(nameless), (Lines{"  data: [{x: 1, y: 2}]", "  data: [{x: 1, y: 2}],"}));
    EXPECT_THAT(log.take(),
                ElementsAre(HasSubstr("3 [vrn metrics data] Failed to get metric name: ")));
}

TEST(ChartPage, JoinsLabelsAndNamesThoseWithoutTextUnknown) {
    MetricsCatalog catalog;
    const LabelIds labels = {{catalog.intern("port"), catalog.intern("1")}, {7, 8}};
    Lines pairs;
    for (const auto &[name, value] : labels)
        pairs.push_back(name == 7 ? "unknown_label=unknown_value" : "port=1");
    EXPECT_EQ(chart_label_text(catalog, labels), pairs[0] + ", " + pairs[1]);
}

TEST(ChartPage, WritesValuesThatAreNoNumbersInTheWordsOfThePage) {
    MetricsHistory store;
    store.set_default_capacity(2);
    series<double>(store, "m").push(1'000, std::numeric_limits<double>::infinity());
    series<double>(store, "m").push(2'000, std::nan(""));
    EXPECT_EQ(data_of(store).at(1), "  data: [{x: 1, y: inf}, {x: 2, y: nan}]");
}

TEST(ChartPage, ThinsEachDatasetToItsSize) {
    MetricsHistory store;
    store.set_default_capacity(1000);
    for (std::uint64_t i = 0; i < 427; ++i) series<UInt64Tag>(store, "m").push(i * 1000, i);
    const Lines datasets = data_of(store);
    EXPECT_EQ(std::ranges::count(datasets.at(1), '{'), 426);
    EXPECT_EQ(std::ranges::count(datasets.at(2), '{'), 142);
    for (const std::size_t dataset : {1, 2}) {
        EXPECT_THAT(datasets[dataset], HasSubstr("data: [{x: 0, y: 0}, "));
        EXPECT_THAT(datasets[dataset], HasSubstr(", {x: 426, y: 426}]"));
    }
}

TEST(ChartPage, KeepsThePointsOfManySeriesApart) {
    MetricsHistory store;
    store.set_default_capacity(3);
    store.set_label_form(script_text);
    const auto fill = [&]<typename T>(T /*value*/, const std::string &name,
                                      const std::vector<StoredValue<T>> &values) {
        std::uint64_t time = 1'700'000'000'000'000;
        for (const auto value : values)
            series<T>(store, name, {{"a", "it's"}}).push(time += 1'500'000, value);
        return std::to_string(store.intern(name));
    };
    const std::string load = fill(double(), "load", {0.1, 1e300, std::nan("")});
    const std::string bytes = fill(UInt64Tag(), "bytes", {~0ull, 7});
    const std::string load_points =
        R"([{"label":"a=it\u0027s","count":3,"x":[1700000001500,1500,1500],"y":[0.1,1e+300,null]}])";
    const std::string bytes_points =
        R"([{"label":"a=it\u0027s","count":2,"x":[1700000001500,1500],"y":[18446744073709551615,7]}])";

    const auto page = [&](const ChartPageOptions &options) {
        std::ostringstream out;
        write_chart_page(out, store, options);
        const std::string text = out.str();
        return text.substr(text.find("metricsDataFootprint = "));
    };
    EXPECT_THAT(page({.max_script_points = 5}), HasSubstr("originalMetricsData"));
    const std::string totals = "PAGE_OPTIONS.totals = {metrics: 2, series: 2, points: 5};\n";
    EXPECT_THAT(page({.max_script_points = 4}), EndsWith(totals + "</script>\n</body>\n</html>\n"));
    const std::string alone = page(
        {.has_host = false, .max_script_points = 4, .shows_first = [](const std::string &name) {
             return name == "load";
         }});
    EXPECT_THAT(page({.notice = "it's full"}),
                HasSubstr("PAGE_OPTIONS.notice = 'it\\u0027s full';"));
    EXPECT_THAT(alone, HasSubstr("PAGE_OPTIONS.hasHost = false;\n" + totals +
                                 "PAGE_OPTIONS.firstMetrics = ['" + load + "'];\n</script>\n"));
    const auto element = [](const std::string &id, const std::string &points) {
        return "<script type=\"application/json\" id=\"points" + id + "\">" + points +
               "</script>\n";
    };
    EXPECT_THAT(alone, HasSubstr(element(load, load_points)));
    EXPECT_THAT(alone, HasSubstr(element(bytes, bytes_points)));

    const auto points_of = [&](const std::vector<std::uint64_t> &ids) {
        std::ostringstream out;
        write_chart_points(out, store, ids);
        return out.str();
    };
    EXPECT_EQ(points_of({store.intern("load"), 7}), "{\n\"" + load + "\":" + load_points + "\n}\n");
    EXPECT_THAT(points_of({store.intern("load"), store.intern("bytes")}), HasSubstr("],\n\""));
    EXPECT_EQ(points_of({}), "{\n}\n");
}

TEST(ChartPage, CarriesTheEmbeddedScripts) {
    ChartScripts scripts = short_scripts;
    scripts[1] = nullptr;
    EXPECT_THAT(page_of(MetricsHistory(), scripts), EndsWith("// Chart.js Date-fns Adapter\n"));

    const std::string page = page_of(MetricsHistory(), chart_scripts);
    for (const char *script : chart_scripts) EXPECT_NE(page.find(script), std::string::npos);
    EXPECT_THAT(chart_scripts[0], HasSubstr("Chart.js v4.4.1"));
    EXPECT_THAT(chart_scripts[1], HasSubstr("chartjs-adapter-date-fns v3.0.0"));
    EXPECT_THAT(chart_scripts[2], HasSubstr("chartjs-plugin-zoom v2.0.1"));
    EXPECT_THAT(chart_scripts[11], EndsWith("setTimeout(initializeUI, 50));\n"));
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
}  // namespace vrn::test
