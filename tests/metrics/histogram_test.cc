#include "metrics/histogram.h"

#include <cmath>

#include "data/time.h"
#include "metrics/cntx_block_tables.h"
#include "metrics/metrics_parser.h"
#include "support/stream_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using metrics::Histogram;
using metrics::HistogramSet;
using metrics::PreallocatedVector;
using metrics::VrnMetricsParser;
using Counts = std::vector<std::uint64_t>;

Counts counts_of(const Histogram &histogram) {
    Counts counts;
    for (const metrics::Bucket &bucket : histogram.buckets) counts.push_back(bucket.count);
    return counts;
}

// A labels block of set 3: a value by id, a value by text.
const std::string labels_block("\3\2ML\0I\1v", 8);

Histogram latency() {
    return {.buckets = {{0.5, 0}, {2, 1}}, .sum = 1.5, .count = 9, .name = "lat", .timestamp = 77};
}

std::string section_of(const Histogram &histogram) {
    HistogramSet set;
    set.histograms[6] = histogram;
    PreallocatedVector out(histogram.serialized_size(labels_block.size()));
    EXPECT_TRUE(set.serialize(6, bytes_of(labels_block), &out));
    return {out.bytes().begin(), out.bytes().end()};
}

TEST(Histogram, CountsObservationsUpToEachBound) {
    const struct {
        double value;
        Counts counts;
    } cases[] = {
        {-INFINITY, {1, 1, 1}}, {1, {1, 1, 1}},   {1.5, {0, 1, 1}}, {2, {0, 1, 1}},
        {4, {0, 0, 1}},         {4.5, {0, 0, 0}}, {NAN, {0, 0, 0}},
    };
    for (const auto &[value, counts] : cases) {
        SCOPED_TRACE(value);
        Histogram histogram = {.buckets = {{1, 0}, {2, 0}, {4, 0}}, .timestamp = 5};
        histogram.observe(value);
        EXPECT_EQ(counts_of(histogram), counts);
        EXPECT_EQ(histogram.count, 1u);
        EXPECT_TRUE(histogram.sum == value || (std::isnan(value) && std::isnan(histogram.sum)));
        EXPECT_EQ(histogram.timestamp, 5u);
    }
}

TEST(Histogram, TakesItsTimeFromTheClock) {
    CapturedLog log(7);
    Histogram histogram = {.name = "lat"};
    const std::uint64_t before = vrn_time_now();
    histogram.observe(1);
    EXPECT_GE(histogram.timestamp, before);
    histogram.set_timestamp(8);
    histogram.set_timestamp(~std::uint64_t{0});
    EXPECT_EQ(histogram.timestamp, 8u);
    histogram.set_timestamp(0);
    EXPECT_GE(histogram.timestamp, before);
    const std::string p = "7 [vrn metrics histograms] Histogram 'lat' timestamp changed from ";
    EXPECT_EQ(log.take(), (Lines{p + "8 to 8", p + std::to_string(histogram.timestamp) + " to 0"}));
}

TEST(Histogram, WritesASectionAndReadsIt) {
    const std::string expected = ByteBuilder().text("HIST").u64(77).text("\3lat\2").done() +
                                 ByteBuilder().f64(0.5).u64(0).f64(2).u64(1).done() +
                                 ByteBuilder().f64(1.5).u64(9).raw(labels_block).done() + "hist";
    EXPECT_EQ(section_of(latency()), expected);
    for (std::size_t capacity = 0; capacity < expected.size(); ++capacity) {
        PreallocatedVector out(capacity);
        EXPECT_THROW(latency().serialize(bytes_of(labels_block), &out), std::out_of_range);
    }

    const std::string block =
        with_inserted(sample_stream().build(), "CLBL", expected + section_of({.count = 4}));
    CapturedLog log;
    const auto read = metrics::CntxBlockTables::parse(ExactBytes(block)).histograms;
    ASSERT_EQ(read.histograms.size(), 2u);
    const Histogram &first = read.histograms.at(0);
    EXPECT_EQ(section_of(first), expected);
    EXPECT_EQ(first.label_set_id, 3u);
    EXPECT_EQ(first.label_values, (Lines{"cpu0", "v"}));
    EXPECT_EQ(section_of(read.histograms.at(1)), section_of({.count = 4}));
    EXPECT_TRUE(read.timeseries_ids.empty());
    EXPECT_EQ(log.take(), Lines{});
}

TEST(Histogram, AFaultKeepsTheSectionsBeforeIt) {
    const std::string good = section_of(latency());
    const std::size_t suffix = good.size() - 4;  // its bytes aren't looked at, so needn't be there
    const std::string prefix = "3 [vrn metrics parser] Error parsing histograms: ";
    for (std::size_t size = 4; size < good.size(); ++size) {
        SCOPED_TRACE(size);
        const bool whole = size >= suffix;
        CapturedLog log;
        const ExactBytes range(good + good.substr(0, size));
        HistogramSet set;
        set.histograms[7] = {};  // ids go on above the highest
        EXPECT_EQ(VrnMetricsParser::parse_histogram_sections(range, {"a"}, &set).size(),
                  whole ? 0 : good.size() + size);
        EXPECT_EQ(set.histograms.at(8).name, "lat");
        EXPECT_EQ(set.histograms.contains(9), whole);
        const Lines lines = log.take();
        ASSERT_EQ(lines.empty(), whole);
        EXPECT_TRUE(whole || lines.back().starts_with(prefix));
    }
}

TEST(PreallocatedVector, NeverGrows) {
    PreallocatedVector bytes(6);
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
