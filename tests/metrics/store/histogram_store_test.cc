#include "metrics/store/histogram_store.h"

#include <boost/container_hash/hash.hpp>

#include <cmath>

#include "support/store_text.h"

namespace vrn::test {
namespace {

using data::metrics::SymbolTable;
using metrics::Histogram;
using metrics::MetricsCurrent;
using metrics::MetricsHistory;

// Capacities that let derived series hold more than one sample; none is set for the counts.
const metrics::MetricCapacities roomy = {{boost::hash<std::string>()("lat"), 10},
                                         {boost::hash<std::string>()("lat_bucket"), 10},
                                         {boost::hash<std::string>()("lat_sum"), 10}};

template <typename Store>
void store(Store *store, std::uint64_t timestamp, std::vector<metrics::Bucket> buckets,
           std::uint64_t label_set, const std::string &name = "lat") {
    const std::uint64_t count = buckets.empty() ? 0 : buckets.back().count + 1;
    const Histogram histogram = {.buckets = std::move(buckets),
                                 .sum = static_cast<double>(count) / 2,
                                 .count = count,
                                 .name = name,
                                 .timestamp = timestamp,
                                 .label_set_id = label_set};
    static_cast<void>(metrics::store_histogram(histogram, store));  // what is lost is logged
}

template <typename Store>
void fill(Store *filled) {
    const std::uint64_t sda = filled->intern_labels({{"disk", "sda"}});
    store(filled, 1, {{0.5, 1}, {1, 3}}, sda);
    store(filled, 2, {{0.5, 2}, {1, 5}}, sda);
    // More buckets than the first one has, and fewer.
    store(filled, 3, {{0.5, 3}, {1, 7}, {2, 8}}, sda);
    store(filled, 4, {{0.5, 4}}, sda);
}

template <typename Store>
std::unique_ptr<Store> derivative(const Store &source, const std::string &name,
                                  std::uint64_t t0 = 0, std::uint64_t t1 = 0) {
    std::unique_ptr<Store> derived;
    metrics::generate_histogram_derivative(&derived, source, name, t0, t1);
    return derived;
}

const std::string half = "lat_bucket{disk=sda|le=0.500000} G";
const std::string one = "lat_bucket{disk=sda|le=1.000000} G";
const std::string inf = "lat_bucket{disk=sda|le=+Inf} G";
const std::string sum = "lat_sum{disk=sda} G";
const std::string count = "lat_count{disk=sda} G";

TEST(HistogramStore, DerivesPlainSeries) {
    MetricsHistory source(roomy);
    fill(&source);
    source.set_default_capacity(10);  // not that of the derived store
    const Lines all = {inf + " 1=4 2=6 3=9 4=5", half + " 1=1 2=2 3=3 4=4", one + " 1=3 2=5 3=7",
                       count + " 4=5", sum + " 1=2 2=3 3=4.5 4=2.5"};
    const struct {
        const char *name;
        std::uint64_t t0, t1;
        Lines expected;
    } cases[] = {
        {"lat", 0, 0, all},
        {"lat_bucket", 0, 0, {all[0], all[1], all[2]}},
        {"lat_count", 0, 0, {all[3]}},
        {"lat_sum", 0, 0, {all[4]}},
        {"lat_sum", 1, 3, {sum + " 2=3 3=4.5"}},
        {"lat_bucket", 3, 4, {inf + " 4=5", half + " 4=4"}},
        {"lat", 4, 9, {}},
        {"la", 0, 0, {}},
        {"", 0, 0, {}},
    };
    for (const auto &[name, t0, t1, expected] : cases) {
        SCOPED_TRACE(std::string(name) + " from " + std::to_string(t0));
        EXPECT_EQ(shown(*derivative(source, name, t0, t1)), expected);
    }
    EXPECT_EQ(shown(*derivative(MetricsHistory(), "lat")), Lines{});
    MetricsCurrent current;
    fill(&current);
    EXPECT_EQ(shown(*derivative(current, "lat")),
              (Lines{inf + " 4=5", half + " 4=4", count + " 4=5", sum + " 4=2.5"}));
}

TEST(HistogramStore, AStoreMayTakeThemAsTheirDerivedSeries) {
    MetricsHistory derived;
    derived.set_default_capacity(10);
    derived.set_derives_histograms(true);
    const std::uint64_t a = derived.intern_labels({{"port", "1"}});
    derived.get_series<data::metrics::UInt64Tag>(derived.intern("odd_sum"), a).push(1, 1);
    CapturedLog log;
    fill(&derived);
    store(&derived, 5, {}, a, "odd");
    const std::string two = "lat_bucket{disk=sda|le=2.000000} G";
    EXPECT_EQ(shown(derived),
              (Lines{inf + " 1=4 2=6 3=9 4=5", half + " 1=1 2=2 3=3 4=4", one + " 1=3 2=5 3=7",
                     two + " 3=8", count + " 1=4 2=6 3=9 4=5", sum + " 1=2 2=3 3=4.5 4=2.5",
                     "odd_bucket{le=+Inf|port=1} G 5=0", "odd_count{port=1} G 5=0",
                     "odd_sum{port=1} G 1=1"}));
    EXPECT_EQ(log.take(), Lines{"3 [vrn typed metrics data] Failed to derive from histogram odd: "
                                "Type mismatch for metric 'odd_sum'"});
}

TEST(HistogramStore, BoundsOfOneTextShareASeries) {
    MetricsHistory source(roomy);
    source.set_default_capacity(10);
    store(&source, 1, {{1, 1}, {1, 2}, {INFINITY, 3}}, 0, "lat_count");  // known by its base
    CapturedLog log(7);
    EXPECT_EQ(shown(*derivative(source, "lat_bucket")),
              (Lines{"lat_bucket{le=+Inf} G 1=3 1=4", "lat_bucket{le=1.000000} G 1=1 1=2"}));
    const std::string p = "7 [vrn typed metrics data] ";
    EXPECT_EQ(
        log.take(),
        (Lines{p + "No labels found for label_set_id: 0",
               p + "Generating histogram derivative: lat_bucket (type: 0)",
               p + "Generated histogram derivative data for: 'lat_bucket' with 1 derivatives"}));
}

TEST(HistogramStore, LabelsThatAreGoneAreLeftOutAndAMissingNameEndsTheDerivation) {
    MetricsHistory source;
    EXPECT_FALSE(metrics::is_histogram_metric("lat", &source));
    EXPECT_TRUE(source.find_table<metrics::HistogramBuckets>());
    EXPECT_TRUE(metrics::is_histogram_metric("any_sum", &source));
    const std::uint64_t set = source.intern_labels({{"disk", "sda"}});
    store(&source, 1, {}, set);
    source.release_labels(source.label_sets().at(set));
    CapturedLog log;
    EXPECT_EQ(shown(*derivative(source, "lat_count")), Lines{"lat_count{} G 1=0"});
    EXPECT_TRUE(
        log.take().at(0).starts_with("4 [vrn typed metrics data] Could not translate histogram "
                                     "label: Symbol not found for key: "));

    source.get_series<metrics::HistogramBuckets>(7, 0).push(1, {});
    EXPECT_TRUE(metrics::is_histogram_metric("lat", &source));
    EXPECT_FALSE(metrics::is_histogram_metric("la", &source));
    std::unique_ptr<MetricsHistory> target;
    EXPECT_THROW(metrics::generate_histogram_derivative(&target, source, "lat", 0, 0),
                 SymbolTable::SymbolNotFoundError);
    ASSERT_TRUE(target);
    EXPECT_TRUE(target->symbols().find("+Inf"));
}

TEST(HistogramStore, GroupsTheSeriesOfAHistogram) {
    MetricsHistory source(roomy);
    fill(&source);
    const std::uint64_t sdb = source.intern_labels({{"disk", "sdb"}});
    store(&source, 1, {{1, 1}}, sdb);
    store(&source, 1, {{1, 1}}, 0);
    const auto grouped = [](const MetricsHistory &derived) {
        metrics::SeriesGroups groups = {{"old", {}}};
        metrics::group_bucket_metrics(derived, derived.series_keys(), &groups);
        std::map<std::string, std::size_t> sizes;
        for (const auto &[key, members] : groups) sizes[key] = members.size();
        return sizes;
    };
    using Sizes = std::map<std::string, std::size_t>;
    const auto counts = derivative(source, "lat_count");
    const auto all = derivative(source, "lat");
    CapturedLog log(7);
    EXPECT_EQ(grouped(*counts), (Sizes{{"lat|disk=sda", 1}, {"lat|disk=sdb", 1}}));
    EXPECT_EQ(
        log.take(),
        (Lines{"7 [vrn typed metrics data] Failed to get labels for metric: lat_count",
               "7 [vrn typed metrics data] Grouped 3 histogram bucket metrics into 2 groups"}));
    // The bounds, the overflow, sum and count; of the set without labels those with "le".
    EXPECT_EQ(grouped(*all), (Sizes{{"lat|disk=sda", 5}, {"lat|disk=sdb", 4}, {"lat", 2}}));
    metrics::SeriesGroups groups;
    EXPECT_THROW(metrics::group_bucket_metrics(source, {{5, sdb}}, &groups),
                 SymbolTable::SymbolNotFoundError);
}

}  // namespace
}  // namespace vrn::test
