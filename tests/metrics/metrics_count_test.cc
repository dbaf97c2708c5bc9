#include <gtest/gtest.h>

#include "metrics/metrics_parser.h"
#include "support/byte_builder.h"
#include "support/captured_log.h"
#include "support/stream_blocks.h"

namespace vrn::test {
namespace {

using metrics::MetricCounts;
using metrics::VrnMetricsParser;
using Lines = std::vector<std::string>;

const std::string warning = "4 [vrn metrics parser] ";
const MetricCounts sample_counts = {{"busy", 2}, {"idle", 2}};
const MetricCounts first_record_counts = {{"busy", 1}, {"idle", 1}};

struct Outcome {
    bool counted;
    MetricCounts counts;
};

Outcome count(const std::string &bytes) {
    Outcome outcome = {};
    outcome.counted =
        VrnMetricsParser::count_metrics_from_cntx_blocks(ExactBytes(bytes), &outcome.counts);
    return outcome;
}

TEST(MetricsCount, AddsTheSamplesOfAllBlocks) {
    const std::string block = sample_stream().build();
    CapturedLog log;
    MetricCounts counts = {{"busy", 10}, {"other", 1}};
    EXPECT_TRUE(VrnMetricsParser::count_metrics_from_cntx_blocks(
        ExactBytes("noise" + block + "noise" + block), &counts));
    EXPECT_EQ(counts, (MetricCounts{{"busy", 14}, {"idle", 4}, {"other", 1}}));
    EXPECT_EQ(log.take(), Lines{});
}

// A block whose record section holds `records` behind the blocksize.
std::string block_of(const std::string &records) {
    metrics::CntxBuilder builder;
    builder.add_metric("m");
    std::string block = with_inserted(builder.build(), "cntdcntx", records);
    return with_bytes(block, "CNTD", 4, std::string("\xff\xff\0\0", 4));
}

std::string record(std::uint16_t num_samples, std::uint16_t sample_id) {
    return ByteBuilder()
        .u16(0)
        .u64(1)
        .text("C")
        .u8(1)
        .u16(num_samples)
        .u16(sample_id)
        .u64(5)
        .u8(0)
        .u8(0)
        .text("L")
        .done();
}

TEST(MetricsCount, NamesEachFault) {
    struct Case {
        const char *name;
        std::string bytes;
        bool counted;
        MetricCounts counts;
        Lines lines;
    };
    const std::string block = sample_stream().build();
    const std::string no_records = block.substr(0, block.find("CNTD"));
    const std::string missing = "Invalid binary data format: Missing ";
    const std::string failed_block = warning + "Could not count metrics from CNTX block 1: ";
    const std::string failed_labels = warning + "Could not parse labels block for counting: ";
    const Case cases[] = {
        {"header cut", "CNTX123", false, {}, {warning + "Insufficient data for CNTX block header"}},
        {"largest size", with_total_size(block, 0x40000000), true, sample_counts, {}},
        {"size too large",
         with_total_size(block, 0x40000001),
         false,
         {},
         {warning + "Invalid block size 1073741825 in CNTX block"}},
        {"good block behind a bad size",
         with_total_size(block, 0) + block,
         true,
         sample_counts,
         {warning + "Invalid block size 0 in CNTX block"}},
        {"size of 1",
         with_total_size(block, 1) + block,
         true,
         sample_counts,
         {warning + "No CNTD section found in CNTX block, skipping"}},
        {"tables cut",
         with_total_size(block, 50) + block,
         true,
         sample_counts,
         {"3 [vrn metrics parser] " + missing + "'lblv' suffix",
          failed_block + missing + "suffix"}},
        {"record section cut",
         no_records + "CNTD123",
         false,
         {},
         {warning + "Invalid magic numbers in CNTX block"}},
        {"half a trailer",
         with_bytes(block, "cntdcntx", 4, "xxxx"),
         false,
         {},
         {warning + "Invalid magic numbers in CNTX block"}},
        {"no blocksize",
         no_records + "CNTDabccntdcntx",
         false,
         {},
         {warning + "Insufficient data for blocksize in CNTX block"}},
        {"blocksize alone", no_records + "CNTDabcdcntdcntx", true, {}, {}},
        {"record header cut", block_of(record(1, 0) + std::string(13, '\0')), true, {{"m", 1}}, {}},
        {"no samples", block_of(record(0, 0)), true, {}, {}},
        {"samples behind the end",
         block_of(record(2, 0)),
         true,
         {},
         {warning + "num_samples 2 exceeds available data (max: 1)"}},
        {"unknown metric",
         block_of(record(1, 1) + record(1, 0)),
         true,
         {{"m", 1}},
         {warning + "Invalid metric_id 1 (max: 1), skipping"}},
        {"any metric type", with_bytes(block, "CNTD", 8 + 10, "H"), true, sample_counts, {}},
        {"bad labels",
         with_bytes(block, "CNTD", 8 + 14 + 20 + 2, "X"),
         true,
         first_record_counts,
         {"3 [vrn labels block] parse_labels_block: invalid encoding type 'X'",
          failed_labels + "invalid encoding type"}},
        {"bad histogram",
         with_inserted(block, "CLBL", "HIST"),
         true,
         sample_counts,
         {"3 [vrn metrics parser] Error parsing histograms: Invalid binary data format: Truncated "
          "'HIST' section"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        const Outcome outcome = count(c.bytes);
        EXPECT_EQ(outcome.counted, c.counted);
        EXPECT_EQ(outcome.counts, c.counts);
        EXPECT_EQ(log.take(), c.lines);
    }
}

TEST(MetricsCount, ShowsItsBlocksAtDebugLevel) {
    const std::string block = block_of(record(0, 0));
    CapturedLog log(7);
    EXPECT_TRUE(count(block + block).counted);
    const std::string p = "7 [vrn metrics parser] ";
    EXPECT_EQ(log.take(),
              (Lines{p + "Empty metrics batch, skipping", p + "Counted metrics from CNTX block 1",
                     p + "Empty metrics batch, skipping", p + "Counted metrics from CNTX block 2",
                     p + "Counted metrics from 2 CNTX blocks, found 0 unique metrics"}));
    EXPECT_FALSE(count("nothing").counted);
    EXPECT_EQ(log.take(), Lines{p + "Counted metrics from 0 CNTX blocks, found 0 unique metrics"});
}

TEST(MetricsCount, StaysInsideEveryShorterStream) {
    const std::string block = sample_stream().build();
    for (std::size_t size = 0; size < block.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_FALSE(count(block.substr(0, size)).counted);
    }
    for (std::size_t size = 0; size + 8 <= block.size(); ++size) {
        SCOPED_TRACE(size);
        const Outcome outcome = count(block.substr(0, size) + "cntdcntx");
        EXPECT_EQ(outcome.counted, size >= block.find("CNTD") + 8);
    }
}

}  // namespace
}  // namespace vrn::test
