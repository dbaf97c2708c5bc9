#include "metrics/histogram_set.h"

#include "support/test.h"

namespace vrn::test {
namespace {

using metrics::Histogram;
using metrics::HistogramSet;

std::uint64_t add(HistogramSet &set, std::uint64_t series, const std::vector<double> &bounds = {}) {
    return set.add(5, "lat", {series, 0}, bounds, 3, {"v"});
}

TEST(HistogramSet, AddsATimeSeriesOnce) {
    CapturedLog log(7);
    HistogramSet set;
    EXPECT_EQ(add(set, 1, {1, 1, 2}), 0u);
    EXPECT_EQ(add(set, 2), 1u);
    EXPECT_EQ(add(set, 1, {7}), 0u);
    const std::string p = "7 [vrn metrics histograms] ";
    EXPECT_EQ(log.take(),
              (Lines{p + "Added new histogram with id 0 for 'lat'",
                     p + "Added new histogram with id 1 for 'lat'",
                     p + "Histogram with timeseries_id for 'lat' already exists with id 0"}));
    const Histogram &histogram = set.histograms.at(0);
    ASSERT_EQ(histogram.buckets.size(), 3u);
    EXPECT_EQ(histogram.buckets[2].upper_bound, 2);
    EXPECT_EQ(histogram.buckets[2].count, 0u);
    EXPECT_EQ(histogram.timestamp, 5u);
    EXPECT_EQ(histogram.label_set_id, 3u);
    EXPECT_EQ(histogram.label_values, Lines{"v"});
}

TEST(HistogramSet, RefusesBoundsThatDecreaseAndUnknownIds) {
    CapturedLog log;
    HistogramSet set;
    const std::string bounds = "Histogram buckets must be monotonically increasing";
    EXPECT_EQ(error_of([&] { add(set, 1, {1, 2, 1}); }), bounds);
    EXPECT_EQ(error_of([&] { set.observe(4, 1); }), "Histogram id does not exist");
    EXPECT_EQ(log.take(), (Lines{"3 [vrn metrics histograms] " + bounds,
                                 "3 [vrn metrics histograms] Histogram id: 4 does not exist"}));
    metrics::PreallocatedVector none(0);
    EXPECT_FALSE(set.serialize(4, {}, &none) || set.is_due(4) || set.reset(4) || set.remove(4) ||
                 set.set_report_interval(4, 1));
    EXPECT_TRUE(set.empty());
}

TEST(HistogramSet, IdsGoOnAboveTheHighestLeft) {
    HistogramSet set;
    for (std::uint64_t i = 0; i < 6; ++i) EXPECT_EQ(add(set, i), i);
    EXPECT_TRUE(set.remove(3));
    EXPECT_EQ(set.next_id(), 6u);
    EXPECT_TRUE(set.remove(5));
    EXPECT_EQ(add(set, 3), 5u);  // no longer known
    EXPECT_EQ(add(set, 4), 4u);
    EXPECT_EQ(metrics::TimeseriesIdHash()({12, 5}),
              std::size_t{((12 >> 2) + (12 << 6) + 5 + 0x9e3779b9) ^ 12});
}

TEST(HistogramSet, ReportsAreDueAfterTheirInterval) {
    HistogramSet set;
    const std::uint64_t id = add(set, 1, {1});
    const std::uint64_t unlabelled = set.add(5, "lat", {2, 0}, {1}, 3, {});
    EXPECT_FALSE(set.is_due(id));
    set.set_report_interval_of_all(3'600'000);
    EXPECT_FALSE(set.is_due(id));
    set.observe(id, 1);
    EXPECT_EQ(set.histograms.at(id).count, 1u);
    EXPECT_TRUE(set.reset(id) && set.reset(unlabelled));
    const Histogram &histogram = set.histograms.at(id);
    EXPECT_EQ(histogram.buckets[0].count + histogram.count, 0u);
    EXPECT_EQ(histogram.sum, 0);
    EXPECT_EQ(histogram.timestamp, 5u);
    EXPECT_TRUE(set.is_due(id) && !set.is_due(unlabelled));
    EXPECT_TRUE(set.set_report_interval(id, 0) && !set.is_due(id));
}

}  // namespace
}  // namespace vrn::test
