#include "metrics/histogram_set.h"

#include <gtest/gtest.h>

#include <cmath>

#include "data/time.h"
#include "support/byte_builder.h"
#include "support/captured_log.h"

namespace vrn::test {
namespace {

using metrics::Histogram;
using metrics::HistogramSet;
using metrics::PreallocatedVector;
using Lines = std::vector<std::string>;
using Counts = std::vector<std::uint64_t>;

std::uint64_t add(HistogramSet &set, std::uint64_t series, const std::vector<double> &bounds = {}) {
    return set.add(5, "lat", {series, 0}, bounds, 3, {"v"});
}

Counts counts_of(const Histogram &histogram) {
    Counts counts;
    for (const metrics::Bucket &bucket : histogram.buckets) counts.push_back(bucket.count);
    return counts;
}

TEST(HistogramSet, AddsATimeSeriesOnce) {
    CapturedLog log(7);
    HistogramSet set;
    EXPECT_TRUE(set.empty());
    EXPECT_EQ(add(set, 1, {1, 1, 2}), 0u);
    EXPECT_EQ(add(set, 2), 1u);
    EXPECT_EQ(add(set, 1, {7}), 0u);
    const std::string p = "7 [vrn metrics histograms] ";
    EXPECT_EQ(log.take(),
              (Lines{p + "Added new histogram with id 0 for 'lat'",
                     p + "Added new histogram with id 1 for 'lat'",
                     p + "Histogram with timeseries_id for 'lat' already exists with id 0"}));
    const Histogram &histogram = set.histograms.at(0);
    EXPECT_EQ(counts_of(histogram), (Counts{0, 0, 0}));
    EXPECT_EQ(histogram.buckets[2].upper_bound, 2);
    EXPECT_EQ(histogram.timestamp, 5u);
    EXPECT_EQ(histogram.label_set_id, 3u);
    EXPECT_EQ(histogram.label_values, Lines{"v"});
    EXPECT_FALSE(set.empty());
}

TEST(HistogramSet, RefusesBoundsThatDecrease) {
    CapturedLog log;
    HistogramSet set;
    const std::string what = "Histogram buckets must be monotonically increasing";
    try {
        add(set, 1, {1, 2, 1});
        ADD_FAILURE();
    } catch (const std::runtime_error &error) {
        EXPECT_EQ(error.what(), what);
    }
    EXPECT_EQ(log.take(), Lines{"3 [vrn metrics histograms] " + what});
    EXPECT_TRUE(set.empty());
}

TEST(HistogramSet, IdsGoOnAboveTheHighestLeft) {
    HistogramSet set;
    for (std::uint64_t i = 0; i < 6; ++i) EXPECT_EQ(add(set, i), i);
    EXPECT_TRUE(set.remove(3));
    EXPECT_FALSE(set.remove(3));
    EXPECT_EQ(set.next_id(), 6u);
    EXPECT_TRUE(set.remove(5));
    EXPECT_EQ(set.next_id(), 5u);
    EXPECT_EQ(add(set, 3), 5u);
    EXPECT_EQ(add(set, 4), 4u);
}

TEST(HistogramSet, HashesPairsOfWords) {
    EXPECT_EQ((metrics::TimeseriesIdHash()({12, 5})),
              std::size_t{((12 >> 2) + (12 << 6) + 5 + 0x9e3779b9) ^ 12});
}

TEST(HistogramSet, CountsObservationsUpToEachBound) {
    struct Case {
        double value;
        Counts counts;
    };
    const Case cases[] = {
        {-INFINITY, {1, 1, 1}}, {1, {1, 1, 1}},   {1.5, {0, 1, 1}}, {2, {0, 1, 1}},
        {4, {0, 0, 1}},         {4.5, {0, 0, 0}}, {NAN, {0, 0, 0}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.value);
        HistogramSet set;
        const std::uint64_t id = add(set, 1, {1, 2, 4});
        set.observe(id, c.value);
        const Histogram &histogram = set.histograms.at(id);
        EXPECT_EQ(counts_of(histogram), c.counts);
        EXPECT_EQ(histogram.count, 1u);
        EXPECT_TRUE(histogram.sum == c.value || std::isnan(c.value));
        EXPECT_EQ(std::isnan(histogram.sum), std::isnan(c.value));
        EXPECT_EQ(histogram.timestamp, 5u);
    }
    CapturedLog log;
    HistogramSet set;
    try {
        set.observe(4, 1);
        ADD_FAILURE();
    } catch (const std::runtime_error &error) {
        EXPECT_STREQ(error.what(), "Histogram id does not exist");
    }
    EXPECT_EQ(log.take(), Lines{"3 [vrn metrics histograms] Histogram id: 4 does not exist"});
}

TEST(Histogram, TakesItsTimeFromTheClock) {
    CapturedLog log(7);
    Histogram histogram = {.name = "lat"};
    const std::uint64_t before = vrn_time_now();
    histogram.observe(1);
    EXPECT_GE(histogram.timestamp, before);
    histogram.timestamp = 3;
    histogram.observe(1);
    EXPECT_EQ(histogram.timestamp, 3u);
    histogram.set_timestamp(~std::uint64_t{0});
    EXPECT_EQ(histogram.timestamp, 3u);
    histogram.set_timestamp(8);
    EXPECT_EQ(histogram.timestamp, 8u);
    histogram.set_timestamp(0);
    EXPECT_GE(histogram.timestamp, before);
    const std::string p = "7 [vrn metrics histograms] Histogram 'lat' timestamp changed from ";
    EXPECT_EQ(log.take(), (Lines{p + "8 to 8", p + std::to_string(histogram.timestamp) + " to 0"}));
}

TEST(HistogramSet, ReportsAreDueAfterTheirInterval) {
    HistogramSet set;
    const std::uint64_t id = add(set, 1, {1});
    const std::uint64_t unlabelled = set.add(5, "lat", {2, 0}, {1}, 3, {});
    EXPECT_FALSE(set.is_due(id));
    set.set_report_interval_of_all(3'600'000);
    EXPECT_FALSE(set.is_due(id));
    set.observe(id, 1);
    EXPECT_TRUE(set.reset(id));
    const Histogram &histogram = set.histograms.at(id);
    EXPECT_EQ(counts_of(histogram), Counts{0});
    EXPECT_EQ(histogram.sum, 0);
    EXPECT_EQ(histogram.count, 0u);
    EXPECT_EQ(histogram.timestamp, 5u);
    EXPECT_EQ(histogram.report_time, 0u);
    EXPECT_TRUE(set.is_due(id));
    set.reset(unlabelled);
    EXPECT_FALSE(set.is_due(unlabelled));
    EXPECT_TRUE(set.set_report_interval(id, 0));
    EXPECT_FALSE(set.is_due(id));
    EXPECT_FALSE(set.is_due(9));
    EXPECT_FALSE(set.reset(9));
    EXPECT_FALSE(set.set_report_interval(9, 1));
}

TEST(HistogramSet, WritesTheSectionThatItReads) {
    HistogramSet set;
    const std::uint64_t id = add(set, 1, {0.5, 2});
    set.observe(id, 1.5);
    const std::string labels("\3\1I\1v", 5);
    const std::string expected = ByteBuilder()
                                     .text("HIST")
                                     .u64(5)
                                     .u8(3)
                                     .text("lat")
                                     .u8(2)
                                     .f64(0.5)
                                     .u64(0)
                                     .f64(2)
                                     .u64(1)
                                     .f64(1.5)
                                     .u64(1)
                                     .raw(labels)
                                     .text("hist")
                                     .done();
    EXPECT_EQ(set.histograms.at(id).serialized_size(labels.size()), expected.size());
    for (std::size_t capacity = 0; capacity <= expected.size(); ++capacity) {
        SCOPED_TRACE(capacity);
        PreallocatedVector out(capacity);
        try {
            EXPECT_TRUE(set.serialize(id, bytes_of(labels), &out));
            EXPECT_EQ(std::string(out.bytes().begin(), out.bytes().end()), expected);
            EXPECT_EQ(capacity, expected.size());
        } catch (const std::out_of_range &error) {
            EXPECT_TRUE(std::string(error.what()).starts_with("PreallocatedVector::"));
            EXPECT_LT(capacity, expected.size());
        }
    }
    PreallocatedVector none(0);
    EXPECT_FALSE(set.serialize(9, {}, &none));
    HistogramSet read;
    EXPECT_EQ(read.parse_sections(bytes_of(expected + "x"), {}).size(), 1u);
    EXPECT_EQ(counts_of(read.histograms.at(0)), (Counts{0, 1}));
    EXPECT_EQ(read.histograms.at(0).label_values, Lines{"v"});
    EXPECT_TRUE(read.timeseries_ids.empty());
}

TEST(PreallocatedVector, NeverGrows) {
    PreallocatedVector bytes(6);
    const auto error_of = [](auto call) -> std::string {
        try {
            call();
        } catch (const std::out_of_range &error) {
            return error.what();
        }
        return "";
    };
    const auto text = [&] { return std::string(bytes.bytes().begin(), bytes.bytes().end()); };
    bytes.push_back('a');
    bytes.append(bytes_of("bc"));
    bytes.insert(1, bytes_of("XY"));
    bytes.insert(5, bytes_of("Z"));
    EXPECT_EQ(text(), "aXYbcZ");
    EXPECT_EQ(error_of([&] { bytes.push_back('a'); }), "PreallocatedVector::push_back");
    EXPECT_EQ(error_of([&] { bytes.append(bytes_of("a")); }), "PreallocatedVector::append");
    EXPECT_EQ(error_of([&] { bytes.insert(0, bytes_of("a")); }), "PreallocatedVector::insert");
    EXPECT_EQ(error_of([&] { bytes.insert(7, {}); }), "PreallocatedVector::insert");
    EXPECT_EQ(error_of([&] { bytes.insert(6, {}); }), "");
    EXPECT_EQ(text(), "aXYbcZ");
}

}  // namespace
}  // namespace vrn::test
