#include "metrics/histogram.h"

#include <gtest/gtest.h>

#include <boost/container_hash/hash.hpp>

#include "metrics/metrics_parser.h"
#include "support/byte_builder.h"
#include "support/captured_log.h"
#include "support/stream_blocks.h"

namespace vrn::test {
namespace {

using metrics::CntxBlockTables;
using metrics::Histogram;
using metrics::HistogramSet;
using metrics::VrnMetricsParser;
using Lines = std::vector<std::string>;

std::string section(const std::string &name, std::uint8_t buckets) {
    ByteBuilder builder;
    builder.text("HIST").u64(77).u8(static_cast<std::uint8_t>(name.size())).text(name).u8(buckets);
    for (int i = 0; i < buckets; ++i) builder.f64(i + 0.5).u64(i);
    return builder.f64(2.5)
        .u64(9)
        .u8(1)
        .u8(2)
        .text("ML")
        .u8(0)
        .text("I")
        .u8(1)
        .text("t")
        .text("hist")
        .done();
}

TEST(Histogram, SectionsJoinTheTablesOfTheirBlock) {
    const std::string block =
        with_inserted(sample_stream().build(), "CLBL", section("lat", 2) + section("", 0));
    CapturedLog log;
    const CntxBlockTables tables = CntxBlockTables::parse(ExactBytes(block));
    ASSERT_EQ(tables.histograms.histograms.size(), 2u);
    const Histogram &first = tables.histograms.histograms.at(0);
    EXPECT_EQ(first.name, "lat");
    EXPECT_EQ(first.timestamp, 77u);
    ASSERT_EQ(first.buckets.size(), 2u);
    EXPECT_EQ(first.buckets[1].upper_bound, 1.5);
    EXPECT_EQ(first.buckets[1].count, 1u);
    EXPECT_EQ(first.sum, 2.5);
    EXPECT_EQ(first.count, 9u);
    EXPECT_EQ(first.label_set_id, 1u);
    EXPECT_EQ(first.label_values, (Lines{"cpu0", "t"}));
    const Histogram &second = tables.histograms.histograms.at(1);
    EXPECT_EQ(second.name, "");
    EXPECT_EQ(second.buckets.size(), 0u);
    EXPECT_EQ(second.count, 9u);
    EXPECT_EQ(log.take(), Lines{});
}

TEST(Histogram, AFaultKeepsTheSectionsBeforeIt) {
    const std::string good = section("lat", 1);
    const std::size_t suffix = good.size() - 4;  // its bytes aren't looked at, so needn't be there
    const std::string prefix = "3 [vrn metrics parser] Error parsing histograms: ";
    for (std::size_t size = 4; size < good.size(); ++size) {
        SCOPED_TRACE(size);
        const bool whole = size >= suffix;
        CapturedLog log;
        const ExactBytes range(good + good.substr(0, size));
        HistogramSet set;
        EXPECT_EQ(VrnMetricsParser::parse_histogram_sections(range, {"a"}, &set).size(),
                  whole ? 0 : good.size() + size);
        EXPECT_EQ(set.histograms.size(), whole ? 2u : 1u);
        const Lines lines = log.take();
        ASSERT_EQ(lines.empty(), whole);
        EXPECT_TRUE(whole || lines.back().starts_with(prefix));
    }
}

TEST(Histogram, IdsGoOnAboveTheHighest) {
    HistogramSet set;
    set.histograms[7] = {};
    const ExactBytes range("ab" + section("lat", 0) + "cd");
    EXPECT_EQ(VrnMetricsParser::parse_histogram_sections(range, {"a"}, &set).size(), 2u);
    EXPECT_EQ(set.histograms.at(8).name, "lat");
}

TEST(CntxBlockTables, HashesLabelSetsByTheirNames) {
    const CntxBlockTables tables = CntxBlockTables::parse(ExactBytes(sample_stream().build()));
    std::size_t hash = 0;
    boost::hash_combine(hash, boost::hash<std::string>()("cpu"));
    boost::hash_combine(hash, boost::hash<std::string>()("mode"));
    EXPECT_EQ(tables.label_set_hashes, (std::map<std::uint64_t, std::uint64_t>{{0, hash}, {1, 0}}));
    EXPECT_EQ(tables.names_of(0), (Lines{"cpu", "mode"}));
    EXPECT_EQ(tables.names_of(2), Lines{});
}

TEST(CntxBlockTables, LabelsOverwriteConstants) {
    CntxBlockTables tables;
    tables.label_names = {{3, {"cpu", "host"}}};
    tables.constant_labels = {{"host", "n1"}, {"site", "x"}};
    using metrics::LabelMap;
    EXPECT_EQ(resolve_labels(tables, 3, {"c0", "n2"}),
              (LabelMap{{"cpu", "c0"}, {"host", "n2"}, {"site", "x"}}));
    EXPECT_EQ(resolve_labels(tables, 3, {"c0"}),
              (LabelMap{{"cpu", "c0"}, {"host", "n1"}, {"site", "x"}}));
    EXPECT_EQ(resolve_labels(tables, 4, {}), tables.constant_labels);
    EXPECT_THROW(resolve_labels(tables, 3, {"a", "b", "c"}), std::runtime_error);
    EXPECT_THROW(resolve_labels(tables, 4, {"a"}), std::runtime_error);
}

}  // namespace
}  // namespace vrn::test
