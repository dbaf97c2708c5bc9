#include "metrics/histogram_store.h"

#include <gtest/gtest.h>

#include <boost/container_hash/hash.hpp>

#include <algorithm>
#include <cmath>

#include "support/captured_log.h"

namespace vrn::test {
namespace {

using data::metrics::SymbolTable;
using data::metrics::UInt64Tag;
using metrics::Histogram;
using metrics::MetricsCurrent;
using metrics::MetricsHistory;
using metrics::SeriesKey;
using metrics::ValueType;
using Lines = std::vector<std::string>;

// Capacities that let derived series hold more than one sample.
const metrics::MetricCapacities roomy = {{boost::hash<std::string>()("lat"), 10},
                                         {boost::hash<std::string>()("lat_bucket"), 10},
                                         {boost::hash<std::string>()("lat_sum"), 10}};

Histogram histogram_at(std::uint64_t timestamp, std::vector<metrics::Bucket> buckets,
                       std::uint64_t label_set) {
    const std::uint64_t count = buckets.empty() ? 0 : buckets.back().count + 1;
    return {.buckets = std::move(buckets),
            .sum = static_cast<double>(count) / 2,
            .count = count,
            .name = "lat",
            .timestamp = timestamp,
            .label_set_id = label_set};
}

template <typename Store>
void fill(Store *store) {
    const std::uint64_t sda = store->intern_labels({{"disk", "sda"}});
    metrics::store_histogram(histogram_at(1, {{0.5, 1}, {1, 3}}, sda), store);
    metrics::store_histogram(histogram_at(2, {{0.5, 2}, {1, 5}}, sda), store);
    // More buckets than the first one has, and fewer.
    metrics::store_histogram(histogram_at(3, {{0.5, 3}, {1, 7}, {2, 8}}, sda), store);
    metrics::store_histogram(histogram_at(4, {{0.5, 4}}, sda), store);
}

template <typename T>
std::string text_of(const T &) {
    return "?";
}
std::string text_of(double value) {
    return std::to_string(value).substr(0, 3);
}
std::string text_of(std::uint64_t value) {
    return std::to_string(value);
}

// "name{labels} timestamp=value ..." of each series, sorted.
template <typename Store>
Lines shown(const Store &store) {
    Lines lines;
    store.any_table([&](const auto &table) {
        for (const auto &[id, series_by_labels] : table.metrics)
            for (const auto &[label_set, series] : series_by_labels) {
                std::string line =
                    store.symbols().lookup(id) + "{" + store.label_text(label_set) + "}";
                for (std::uint64_t i = 0; i < series.values.size(); ++i)
                    line += " " + std::to_string(series.timestamps[i]) + "=" +
                            text_of(series.values[i]);
                lines.push_back(line);
            }
        return false;
    });
    std::ranges::sort(lines);
    return lines;
}

template <typename Store>
Lines derived(const Store &source, const std::string &name, std::uint64_t t0 = 0,
              std::uint64_t t1 = 0) {
    std::unique_ptr<Store> store;
    metrics::generate_histogram_derivative(&store, source, name, t0, t1);
    return shown(*store);
}

const std::string le_half = "lat_bucket{disk=sda|le=0.500000}";
const std::string le_one = "lat_bucket{disk=sda|le=1.000000}";
const std::string le_inf = "lat_bucket{disk=sda|le=+Inf}";
const std::string sum = "lat_sum{disk=sda}";
const std::string count = "lat_count{disk=sda}";

TEST(HistogramStore, DerivesPlainSeries) {
    MetricsHistory store(roomy);
    fill(&store);
    const Lines buckets = {le_inf + " 1=4 2=6 3=9 4=5", le_half + " 1=1 2=2 3=3 4=4",
                           le_one + " 1=3 2=5 3=7"};
    // No capacity is set for the counts, so they keep one sample, whatever the default of `store`.
    store.set_default_capacity(10);
    Lines all = buckets;
    all.push_back(count + " 4=5");
    all.push_back(sum + " 1=2.0 2=3.0 3=4.5 4=2.5");
    EXPECT_EQ(derived(store, "lat"), all);
    EXPECT_EQ(derived(store, "lat_bucket"), buckets);
    EXPECT_EQ(derived(store, "lat_sum"), Lines{all[4]});
    EXPECT_EQ(derived(store, "lat_count"), Lines{all[3]});
    EXPECT_EQ(derived(store, "lat_sum", 1, 3), Lines{sum + " 2=3.0 3=4.5"});
    EXPECT_EQ(derived(store, "lat_bucket", 3, 4), (Lines{le_inf + " 4=5", le_half + " 4=4"}));
    EXPECT_EQ(derived(store, "lat", 4, 9), Lines{});
    EXPECT_EQ(derived(store, "la"), Lines{});
    EXPECT_EQ(derived(store, ""), Lines{});
    EXPECT_EQ(derived(MetricsHistory(), "lat"), Lines{});
}

TEST(HistogramStore, DerivesTheNewestOfSingleValues) {
    MetricsCurrent store;
    fill(&store);
    EXPECT_EQ(derived(store, "lat"),
              (Lines{le_inf + " 4=5", le_half + " 4=4", count + " 4=5", sum + " 4=2.5"}));
}

TEST(HistogramStore, BoundsOfOneTextShareASeries) {
    MetricsHistory store(roomy);
    metrics::store_histogram(histogram_at(1, {{1, 1}, {1, 2}, {INFINITY, 3}}, 0), &store);
    CapturedLog log(7);
    EXPECT_EQ(derived(store, "lat_bucket"),
              (Lines{"lat_bucket{le=+Inf} 1=3 1=4", "lat_bucket{le=1.000000} 1=1 1=2"}));
    const std::string p = "7 [vrn typed metrics data] ";
    EXPECT_EQ(
        log.take(),
        (Lines{p + "No labels found for label_set_id: 0",
               p + "Generating histogram derivative: lat_bucket (type: 0)",
               p + "Generated histogram derivative data for: 'lat_bucket' with 1 derivatives"}));
}

TEST(HistogramStore, LabelsThatAreGoneAreLeftOut) {
    MetricsHistory store(roomy);
    const std::uint64_t set = store.intern_labels({{"disk", "sda"}});
    metrics::store_histogram(histogram_at(1, {}, set), &store);
    metrics::LabelIds labels;
    ASSERT_TRUE(store.find_label_set(set, &labels));
    store.release_labels(labels);
    CapturedLog log;
    EXPECT_EQ(derived(store, "lat_count"), Lines{"lat_count{} 1=0"});
    const std::string gone =
        "4 [vrn typed metrics data] Could not translate histogram label: "
        "Symbol not found for key: ";
    EXPECT_TRUE(log.take().at(0).starts_with(gone));
}

TEST(HistogramStore, AMetricWithoutNameEndsTheDerivation) {
    MetricsHistory store;
    store.get_series<metrics::HistogramBuckets>(7, 0).push(1, {});
    std::unique_ptr<MetricsHistory> target;
    EXPECT_THROW(metrics::generate_histogram_derivative(&target, store, "lat", 0, 0),
                 SymbolTable::SymbolNotFoundError);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->default_capacity(), 0u);
    EXPECT_TRUE(target->symbols().find("+Inf"));
    EXPECT_FALSE(metrics::is_histogram_metric("lat", &store));
}

TEST(HistogramStore, KnowsHistogramsByName) {
    MetricsHistory store;
    EXPECT_FALSE(metrics::is_histogram_metric("lat", &store));
    EXPECT_TRUE(store.find_table<metrics::HistogramBuckets>());
    EXPECT_TRUE(metrics::is_histogram_metric("any_sum", &store));
    fill(&store);
    EXPECT_TRUE(metrics::is_histogram_metric("lat", &store));
    EXPECT_FALSE(metrics::is_histogram_metric("la", &store));
    EXPECT_EQ(store.metric_type("lat"), ValueType::histogram);
}

TEST(HistogramStore, GroupsTheSeriesOfAHistogram) {
    MetricsHistory store(roomy);
    fill(&store);
    const std::uint64_t sdb = store.intern_labels({{"disk", "sdb"}});
    metrics::store_histogram(histogram_at(1, {{1, 1}}, sdb), &store);
    metrics::store_histogram(histogram_at(1, {{1, 1}}, 0), &store);
    std::unique_ptr<MetricsHistory> target;
    metrics::generate_histogram_derivative(&target, store, "lat_count", 0, 0);
    std::unique_ptr<MetricsHistory> buckets;
    metrics::generate_histogram_derivative(&buckets, store, "lat", 0, 0);
    metrics::SeriesGroups groups = {{"old", {}}};
    CapturedLog log(7);
    metrics::group_bucket_metrics(*target, target->series_keys(), &groups);
    EXPECT_EQ(
        log.take(),
        (Lines{"7 [vrn typed metrics data] Failed to get labels for metric: lat_count",
               "7 [vrn typed metrics data] Grouped 3 histogram bucket metrics into 2 groups"}));
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups.at("lat|disk=sda").size(), 1u);

    metrics::group_bucket_metrics(*buckets, buckets->series_keys(), &groups);
    ASSERT_EQ(groups.size(), 3u);
    EXPECT_EQ(groups.at("lat|disk=sda").size(), 5u);  // two bounds, the overflow, sum and count
    EXPECT_EQ(groups.at("lat|disk=sdb").size(), 4u);
    EXPECT_EQ(groups.at("lat").size(), 2u);  // no labels but "le"
    EXPECT_THROW(metrics::group_bucket_metrics(store, {{5, sdb}}, &groups),
                 SymbolTable::SymbolNotFoundError);
}

}  // namespace
}  // namespace vrn::test
