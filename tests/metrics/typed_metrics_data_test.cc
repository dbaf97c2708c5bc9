#include "metrics/typed_metrics_data.h"

#include <gtest/gtest.h>

#include "support/captured_log.h"

namespace vrn::test {
namespace {

using data::metrics::Bit64Tag;
using data::metrics::UInt64Tag;
using metrics::HistogramBuckets;
using metrics::LabelIds;
using metrics::MetricsCurrent;
using metrics::MetricsHistory;
using metrics::Samples;
using metrics::SeriesKey;
using metrics::ValueType;
using Lines = std::vector<std::string>;
using Times = std::vector<std::uint64_t>;

// What both storage policies do alike.
template <typename Store>
class TypedMetricsData : public testing::Test {
  protected:
    template <typename T>
    std::string error_of(std::uint64_t metric_id) {
        try {
            store.template get_series<T>(metric_id, 0);
        } catch (const std::runtime_error &error) {
            return error.what();
        }
        return "";
    }

    Store store;
};
using Policies = testing::Types<MetricsHistory, MetricsCurrent>;
TYPED_TEST_SUITE(TypedMetricsData, Policies);

TYPED_TEST(TypedMetricsData, HasTheMetricsOfItsTables) {
    const std::uint64_t id = this->store.intern("m");
    EXPECT_FALSE(this->store.has_metric("m"));
    this->store.template get_series<long>(id, 0);
    EXPECT_TRUE(this->store.has_metric("m"));
    EXPECT_TRUE(this->store.has_metric(id));
    EXPECT_FALSE(this->store.has_metric("other"));
    const std::uint64_t reserved = this->store.intern("10fa4938-bda8-48d7-bb7f-3dc9288d9380");
    this->store.template get_series<long>(reserved, 0);
    EXPECT_FALSE(this->store.has_metric("10fa4938-bda8-48d7-bb7f-3dc9288d9380"));
    EXPECT_FALSE(this->store.has_metric(reserved));
}

TYPED_TEST(TypedMetricsData, AMetricHasOneType) {
    const std::uint64_t id = this->store.intern("m");
    this->store.template get_series<UInt64Tag>(id, 1).push(1, 2);
    EXPECT_EQ(this->store.metric_type(id), ValueType::uint64);
    EXPECT_EQ(this->template error_of<Bit64Tag>(id), "Type mismatch for metric 'm'");
    EXPECT_EQ(this->template error_of<double>(id), "Type mismatch for metric 'm'");
    EXPECT_EQ(this->template error_of<UInt64Tag>(id), "");
    this->store.template get_series<long>(77, 1);
    EXPECT_EQ(this->template error_of<double>(77), "Symbol not found for key: 77");
}

TYPED_TEST(TypedMetricsData, WithoutRegistrationAMetricMayHaveTwo) {
    this->store.set_register_types(false);
    const std::uint64_t id = this->store.intern("m");
    this->store.template get_series<UInt64Tag>(id, 0).push(1, 2);
    this->store.template get_series<double>(id, 0).push(1, 2.5);
    EXPECT_EQ(this->store.metric_type(id), ValueType::unknown);
    EXPECT_EQ(this->store.series_keys(), (std::vector<SeriesKey>{{id, 0}, {id, 0}}));
    EXPECT_EQ(this->store.count_samples({id, 0}, 0, 0), 0u);
    EXPECT_EQ(this->store.template find_series<double>({id, 0})->values[0], 2.5);
}

TYPED_TEST(TypedMetricsData, ReadsSamplesOfEachType) {
    const auto check = [&]<typename T>(const char *name, T, metrics::StoredValue<T> value) {
        SCOPED_TRACE(name);
        const SeriesKey key = {this->store.intern(name), 3};
        this->store.template get_series<T>(key.metric_id, key.label_set).push(10, value);
        Samples samples = {.timestamps = {1, 2}, .values = {}};
        EXPECT_TRUE(this->store.samples_in_range(key, 9, 10, &samples));
        EXPECT_EQ(samples.timestamps, Times{10});
        EXPECT_EQ(std::get<std::vector<metrics::StoredValue<T>>>(samples.values).size(), 1u);
        EXPECT_EQ(this->store.count_samples(key, 9, 10), 1u);
        EXPECT_EQ(this->store.count_samples(key, 10, 11), 0u);
        EXPECT_TRUE(this->store.samples_in_range(key, 10, 11, &samples));
        EXPECT_EQ(samples.timestamps, Times{});
        EXPECT_TRUE(this->store.last_samples(key, 5, &samples));
        EXPECT_EQ(samples.timestamps, Times{10});
    };
    check("u", UInt64Tag(), 1);
    check("l", 0L, -1);
    check("d", 0.0, 0.5);
    check("h", HistogramBuckets(), {.buckets = {{1, 2}}, .sum = 3, .count = 4});
    check("s", std::string(), "text");
    check("b", Bit64Tag(), 0xff);
    Samples samples;
    EXPECT_FALSE(this->store.samples_in_range({1, 3}, 0, 0, &samples));
    EXPECT_FALSE(this->store.last_samples({this->store.intern("u"), 4}, 1, &samples));
    EXPECT_EQ(this->store.count_samples({1, 3}, 0, 0), 0u);

    std::vector<SeriesKey> keys;
    for (const char *name : {"u", "l", "d", "h", "s", "b"})
        keys.push_back({this->store.intern(name), 3});
    EXPECT_EQ(this->store.series_keys(), keys);
}

TYPED_TEST(TypedMetricsData, ConsumersSeeWhatTheyHaveNotRead) {
    const SeriesKey key = {this->store.intern("m"), 0};
    this->store.intern("empty");
    this->store.template get_series<double>(key.metric_id, 0).push(1, 0.5);
    EXPECT_TRUE(this->store.has_unread(1, key.metric_id));
    EXPECT_TRUE(this->store.has_unread(1, "m"));
    EXPECT_FALSE(this->store.has_unread(1, "unknown"));
    EXPECT_TRUE(this->store.has_unread(1, Lines{"empty", "m"}));
    EXPECT_FALSE(this->store.has_unread(1, Lines{"empty"}));
    using Names = std::unordered_set<std::string>;
    EXPECT_EQ(this->store.unread_names(1, {"empty", "m", "unknown"}), Names{"m"});
    EXPECT_EQ(this->store.symbols().find("unknown"), std::nullopt);

    Times times;
    std::vector<double> values;
    EXPECT_EQ(this->store.template read_unread<double>(1, key, &times, &values, 5), 1u);
    EXPECT_EQ(times, Times{1});
    EXPECT_EQ(values, std::vector{0.5});
    EXPECT_FALSE(this->store.has_unread(1, "m"));
    EXPECT_TRUE(this->store.has_unread(2, "m"));
    EXPECT_EQ(this->store.template read_unread<double>(2, {9, 9}, &times, &values, 5), 0u);
    EXPECT_EQ(times, Times{});
    EXPECT_EQ(values, std::vector<double>{});
}

TYPED_TEST(TypedMetricsData, StepsThroughTheLabelSetsOfAMetric) {
    const std::uint64_t id = this->store.intern("m");
    std::set<std::uint32_t> numbers;
    for (int i = 0; i < 5; ++i) {
        const std::uint64_t set = this->store.intern_labels({{"cpu", std::to_string(i)}});
        this->store.template get_series<long>(id, set).push(1, i);
    }
    const auto steps = [&](bool unread_only) {
        std::set<std::uint32_t> seen;
        std::uint64_t index = 0;
        std::uint32_t number = 0;
        LabelIds labels;
        while (this->store.next_label_set(4, id, &index, &number, &labels, unread_only)) {
            EXPECT_EQ(labels.size(), 1u);
            EXPECT_EQ(number, this->store.label_set_number(this->store.register_label_set(labels)));
            EXPECT_TRUE(seen.insert(number).second);
        }
        EXPECT_EQ(index, 5u);
        return seen;
    };
    EXPECT_EQ(steps(false), (std::set<std::uint32_t>{10000, 10001, 10002, 10003, 10004}));
    EXPECT_EQ(steps(true), steps(false));
    Times times;
    std::vector<long> values;
    const std::uint64_t first = this->store.intern_labels({{"cpu", "0"}});
    this->store.template read_unread<long>(4, {id, first}, &times, &values, 1);
    EXPECT_EQ(steps(true), (std::set<std::uint32_t>{10001, 10002, 10003, 10004}));
    EXPECT_EQ(steps(false).size(), 5u);
    std::uint64_t index = 0;
    EXPECT_FALSE(this->store.next_label_set(4, id + 1, &index, nullptr, nullptr, false));
}

TEST(MetricsHistory, ASeriesKeepsItsCapacity) {
    MetricsHistory store;
    const std::uint64_t id = store.intern("m");
    EXPECT_EQ(store.get_series<double>(id, 0).values.capacity(), 1u);
    store.set_default_capacity(3);
    EXPECT_EQ(store.get_series<double>(id, 0).values.capacity(), 1u);
    EXPECT_EQ(store.get_series<double>(id, 1).values.capacity(), 3u);
    store.set_metric_capacities({{id, 5}});
    EXPECT_EQ(store.get_series<double>(id, 2).timestamps.capacity(), 5u);
}

// Bucket counts of maps of this library that hold no element, and a few.
constexpr std::size_t no_buckets = 1;
constexpr std::size_t few_buckets = 13;

TEST(MetricsHistory, FootprintFollowsTheCounts) {
    MetricsHistory store;
    std::size_t expected =
        840 + 8 * 3 * no_buckets + 8 * no_buckets + 8 * no_buckets + 2 * 8 * no_buckets;
    EXPECT_EQ(store.footprint(), expected);

    const std::string long_name(40, 'n');
    const std::uint64_t id = store.intern(long_name);
    expected += 3 * 8 * (few_buckets - no_buckets) + 2 * 24 + 2 * 40 + 32;
    EXPECT_EQ(store.footprint(), expected);
    store.intern("s");
    expected += 2 * 24 + 2 * 15 + 32;
    EXPECT_EQ(store.footprint(), expected);

    store.register_label_set({{1, 2}, {3, 4}});
    expected +=
        72 + 2 * 16 + 8 * (few_buckets - no_buckets) + 2 * (28 + 8 * (few_buckets - no_buckets));
    EXPECT_EQ(store.footprint(), expected);

    store.set_metric_capacities({{id, 10}});
    expected += 24 + 8 * (few_buckets - no_buckets);
    EXPECT_EQ(store.footprint(), expected);

    constexpr std::size_t table = 64 + 8 * few_buckets + 72 + 8 * few_buckets;
    auto &series = store.get_series<double>(id, 0);
    expected += table + 208 + 224 + 8 * (10 + 10 + 4 + no_buckets);
    EXPECT_EQ(store.footprint(), expected);
    series.sync_cursor(1);
    series.sync_cursor(2);
    expected += 8 * (few_buckets - no_buckets) + 2 * 40;
    EXPECT_EQ(store.footprint(), expected);
    series.push(1, 1);
    EXPECT_EQ(store.footprint(), expected);

    store.get_series<HistogramBuckets>(5, 0);
    expected += table + 208 + 256 + 8 * (1 + no_buckets) + 40;
    EXPECT_EQ(store.footprint(), expected);
    store.get_series<std::string>(6, 0);
    expected += table + 208 + 224 + 8 * (1 + 4 + no_buckets) + 2 * 32;
    EXPECT_EQ(store.footprint(), expected);

    store.createThrottledLogFootprintFunction(0);
    expected += 96;
    EXPECT_EQ(store.footprint(), expected);
    CapturedLog log(7);
    store.log_footprint();
    EXPECT_EQ(log.take(), Lines{"7 [vrn typed metrics data] Typed metrics data footprint: " +
                                std::to_string(expected)});
}

TYPED_TEST(TypedMetricsData, LogsItsFootprintOnceInAPeriod) {
    CapturedLog log(7);
    this->store.log_footprint_throttled();
    EXPECT_EQ(log.take(), Lines{});
    this->store.createThrottledLogFootprintFunction(0);
    this->store.log_footprint_throttled();
    this->store.log_footprint_throttled();
    EXPECT_EQ(log.take().size(), 2u);
    this->store.createThrottledLogFootprintFunction(1'000'000'000);
    this->store.log_footprint_throttled();
    EXPECT_EQ(log.take(), Lines{});
}

}  // namespace
}  // namespace vrn::test
