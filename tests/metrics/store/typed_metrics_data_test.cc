#include "metrics/store/typed_metrics_data.h"

#include "support/test.h"

namespace vrn::test {
namespace {

using data::metrics::Bit64Tag;
using data::metrics::UInt64Tag;
using metrics::HistogramBuckets;
using metrics::MetricsCatalog;
using metrics::MetricsHistory;
using metrics::Samples;
using metrics::SeriesKey;
using metrics::ValueType;
using Times = std::vector<std::uint64_t>;

// What both storage policies do alike.
template <typename Store>
class TypedMetricsData : public testing::Test {};
using Policies = testing::Types<MetricsHistory, metrics::MetricsCurrent>;
TYPED_TEST_SUITE(TypedMetricsData, Policies);

TYPED_TEST(TypedMetricsData, AMetricHasOneTypeUnlessTypesAreNotRegistered) {
    TypeParam store;
    for (const char *name : {"m", MetricsCatalog::RESERVED_NAME}) {
        EXPECT_FALSE(store.has_metric(name));
        store.template get_series<UInt64Tag>(store.intern(name), 1);
    }
    const std::uint64_t id = store.intern("m");
    EXPECT_TRUE(store.has_metric("m"));
    EXPECT_FALSE(store.has_metric("10fa4938-bda8-48d7-bb7f-3dc9288d9380"));
    EXPECT_EQ(store.metric_type(id), ValueType::uint64);
    EXPECT_EQ(error_of([&] { store.template get_series<Bit64Tag>(id, 0); }),
              "Type mismatch for metric 'm'");
    store.template get_series<long>(77, 1);
    EXPECT_EQ(error_of([&] { store.template get_series<double>(77, 0); }),
              "Symbol not found for key: 77");

    TypeParam other;
    other.set_register_types(false);
    other.template get_series<UInt64Tag>(5, 0).push(1, 2);
    other.template get_series<double>(5, 0).push(1, 2.5);
    EXPECT_EQ(other.metric_type(5), ValueType::unknown);
    EXPECT_EQ(other.series_keys(), (std::vector<SeriesKey>{{5, 0}, {5, 0}}));
    EXPECT_EQ(other.count_samples({5, 0}, 0, 0), 0u);
    EXPECT_EQ(other.template find_series<double>({5, 0})->values[0], 2.5);
}

TYPED_TEST(TypedMetricsData, ReadsSamplesOfEachType) {
    TypeParam store;
    std::vector<SeriesKey> keys;
    const auto check = [&]<typename T>(T, metrics::StoredValue<T> value) {
        const SeriesKey key = keys.emplace_back(SeriesKey{keys.size(), 3});
        SCOPED_TRACE(key.metric_id);
        store.template get_series<T>(key.metric_id, key.label_set).push(10, value);
        Samples samples = {.timestamps = {1, 2}, .values = {}};
        EXPECT_TRUE(store.samples_in_range(key, 9, 10, &samples));
        EXPECT_EQ(samples.timestamps, Times{10});
        EXPECT_EQ(std::get<std::vector<metrics::StoredValue<T>>>(samples.values).size(), 1u);
        EXPECT_TRUE(store.samples_in_range(key, 10, 11, &samples));
        EXPECT_EQ(samples.timestamps, Times{});
        EXPECT_TRUE(store.last_samples(key, 5, &samples));
        EXPECT_EQ(samples.timestamps, Times{10});
        EXPECT_EQ(store.count_samples(key, 9, 10), 1u);
        EXPECT_EQ(store.count_samples(key, 10, 11), 0u);
    };
    check(UInt64Tag(), 1);
    check(0L, -1);
    check(0.0, 0.5);
    check(HistogramBuckets(), {.buckets = {{1, 2}}, .sum = 3, .count = 4});
    check(std::string(), "text");
    check(Bit64Tag(), 0xff);
    EXPECT_EQ(store.series_keys(), keys);
    Samples samples;
    EXPECT_FALSE(store.samples_in_range({6, 3}, 0, 0, &samples));
    EXPECT_FALSE(store.last_samples({0, 4}, 1, &samples));
    EXPECT_EQ(store.count_samples({6, 3}, 0, 0), 0u);
}

TYPED_TEST(TypedMetricsData, ConsumersSeeWhatTheyHaveNotRead) {
    TypeParam store;
    const SeriesKey key = {store.intern("m"), 0};
    store.intern("empty");
    store.template get_series<double>(key.metric_id, 0).push(1, 0.5);
    EXPECT_TRUE(store.has_unread(1, key.metric_id));
    EXPECT_FALSE(store.has_unread(1, "unknown"));
    EXPECT_TRUE(store.has_unread(1, Lines{"empty", "m"}));
    EXPECT_FALSE(store.has_unread(1, Lines{"empty"}));
    using Names = std::unordered_set<std::string>;
    EXPECT_EQ(store.unread_names(1, {"empty", "m", "unknown"}), Names{"m"});
    EXPECT_EQ(store.symbols().find("unknown"), std::nullopt);

    Times times;
    std::vector<double> values;
    EXPECT_EQ(store.template read_unread<double>(1, key, &times, &values, 5), 1u);
    EXPECT_EQ(times, Times{1});
    EXPECT_EQ(values, std::vector{0.5});
    EXPECT_FALSE(store.has_unread(1, "m"));
    EXPECT_TRUE(store.has_unread(2, "m"));
    EXPECT_EQ(store.template read_unread<double>(2, {9, 9}, &times, &values, 5), 0u);
    EXPECT_TRUE(times.empty() && values.empty());
}

TYPED_TEST(TypedMetricsData, StepsThroughTheLabelSetsOfAMetric) {
    TypeParam store;
    store.set_register_types(false);  // so that one metric may stand in two tables
    const auto add = [&](auto type, int cpu) {
        const std::uint64_t labels = store.intern_labels({{"cpu", std::to_string(cpu)}});
        store.template get_series<decltype(type)>(5, labels).push(1, {});
        return SeriesKey{5, labels};
    };
    const SeriesKey first = add(long{}, 0);
    add(double{}, 1);
    std::uint64_t index = 0;
    using Numbers = std::vector<std::uint32_t>;
    const auto steps = [&](bool unread_only) {
        Numbers numbers;
        std::uint32_t number = 0;
        metrics::LabelIds labels;
        while (store.next_label_set(4, 5, &index, &number, &labels, unread_only)) {
            EXPECT_EQ(number, store.label_set_number(store.register_label_set(labels)));
            numbers.push_back(number);
        }
        return numbers;
    };
    EXPECT_EQ(steps(false), (Numbers{10000, 10001}));
    EXPECT_EQ(index, 2u);
    for (int cpu = 2; cpu < 40; ++cpu) add(double{}, cpu);
    EXPECT_EQ(steps(true).size(), 38u);  // the new ones
    Times times;
    std::vector<long> values;
    store.template read_unread<long>(4, first, &times, &values, 1);
    index = 0;
    EXPECT_EQ(steps(true).front(), 10001u);
    EXPECT_EQ(index, 40u);
    EXPECT_FALSE(store.next_label_set(4, 6, &index, nullptr, nullptr, false));
}

TEST(MetricsHistory, ASeriesKeepsItsCapacity) {
    MetricsHistory store;
    EXPECT_EQ(store.get_series<double>(5, 0).values.capacity(), 1u);
    store.set_default_capacity(3);
    EXPECT_EQ(store.get_series<double>(5, 0).values.capacity(), 1u);
    EXPECT_EQ(store.get_series<double>(5, 1).values.capacity(), 3u);
    store.set_metric_capacities({{5, 5}});
    EXPECT_EQ(store.get_series<double>(5, 2).timestamps.capacity(), 5u);
}

// Bucket counts of maps of this library that hold no element, and a few.
constexpr std::size_t no_buckets = 1;
constexpr std::size_t few_buckets = 13;

TEST(MetricsHistory, FootprintFollowsTheCounts) {
    MetricsHistory store;
    std::size_t before = 0;
    const auto grown = [&] { return store.footprint() - std::exchange(before, store.footprint()); };
    constexpr std::size_t first = 8 * (few_buckets - no_buckets);  // element of a map
    EXPECT_EQ(grown(), 840 + 56 * no_buckets);
    store.intern(std::string(40, 'n'));
    EXPECT_EQ(grown(), 3 * first + 24 + 24 + 40 + 40 + 32);
    store.intern("s");
    EXPECT_EQ(grown(), 24u + 24 + 15 + 15 + 32);
    store.register_label_set({{1, 2}, {3, 4}});
    EXPECT_EQ(grown(), 72 + 16 + 16 + first + 2 * (28 + first));
    store.set_metric_capacities({{4, 10}});
    EXPECT_EQ(grown(), 24 + first);

    constexpr std::size_t table = 64 + 8 * few_buckets + 72 + 8 * few_buckets + 208;
    auto &series = store.get_series<double>(4, 0);
    EXPECT_EQ(grown(), table + 224 + 8 * (10 + 10 + 4 + no_buckets));
    series.sync_cursor(1);
    series.sync_cursor(2);
    EXPECT_EQ(grown(), first + 40 + 40);
    series.push(1, 1);
    EXPECT_EQ(grown(), 0u);
    store.get_series<HistogramBuckets>(5, 0);
    EXPECT_EQ(grown(), table + 256 + 8 * (1 + no_buckets) + 40);
    store.get_series<std::string>(6, 0);
    EXPECT_EQ(grown(), table + 224 + 8 * (1 + 4 + no_buckets) + 32 + 32);
    store.createThrottledLogFootprintFunction(0);
    EXPECT_EQ(grown(), 96u);
}

TEST(MetricsHistory, LogsItsFootprintOnceInAPeriod) {
    MetricsHistory store;
    CapturedLog log(7);
    store.log_footprint_throttled();
    store.createThrottledLogFootprintFunction(1'000'000'000);
    store.log_footprint_throttled();
    EXPECT_EQ(log.take(), Lines{});
    store.createThrottledLogFootprintFunction(0);
    for (int i = 0; i < 2; ++i) store.log_footprint_throttled();
    EXPECT_EQ(log.take(), Lines(2, "7 [vrn typed metrics data] Typed metrics data footprint: " +
                                       std::to_string(store.footprint())));
}

}  // namespace
}  // namespace vrn::test
