#include "metrics/metrics_count.h"

#include "metrics/metrics_parser.h"
#include "support/stream_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using metrics::MetricCounts;

struct Outcome {
    bool counted;
    MetricCounts counts;
};

Outcome count(const std::string &bytes, const MetricCounts &before = {}) {
    Outcome outcome = {false, before};
    outcome.counted = metrics::VrnMetricsParser::count_metrics_from_cntx_blocks(ExactBytes(bytes),
                                                                                &outcome.counts);
    return outcome;
}

// A block whose record section holds `records` after the blocksize.
std::string block_of(const std::string &records) {
    metrics::CntxBuilder builder;
    builder.add_metric("m");
    std::string block = with_inserted(builder.build(), "cntdcntx", records);
    return with_bytes(block, "CNTD", 4, std::string("\xff\xff\0\0", 4));
}

std::string record(std::uint16_t num_samples) {
    ByteBuilder bytes;
    bytes.u16(0).u64(1).text("C").u8(1).u16(num_samples).u16(0).u64(5);
    return bytes.u8(0).u8(0).text("L").done();
}

TEST(MetricsCount, CountsBlocksAndNamesEachFault) {
    const std::string good = sample_stream().build();
    const std::string tables = good.substr(0, good.find("CNTD"));
    const MetricCounts all = {{"busy", 2}, {"idle", 2}};
    const MetricCounts one = {{"m", 1}};
    metrics::CntxBuilder unknown_first;
    unknown_first.add_metric("m");
    unknown_first.add_record({.samples = {{1, 5}, {0, 5}}});
    const std::string w = "4 [vrn metrics parser] ";
    const std::string missing = "Invalid binary data format: Missing ";
    const std::string invalid_size = w + "Invalid block size ";
    const std::string invalid_mark = w + "Invalid magic numbers in CNTX block";
    const std::string failed_labels = w + "Could not parse labels block for counting: ";
    // clang-format off
    const struct { const char *name; std::string bytes; bool counted; MetricCounts counts; Lines lines; } cases[] = {
        {"two", "noise" + good + "noise" + good, true, {{"busy", 4}, {"idle", 4}}, {}},
        {"header cut", "CNTX123", false, {}, {w + "Insufficient data for CNTX block header"}},
        {"largest size", with_total_size(good, 0x40000000), true, all, {}},
        {"size too large", with_total_size(good, 0x40000001), false, {},
         {invalid_size + "1073741825 in CNTX block"}},
        {"good after a bad size", with_total_size(good, 0) + good, true, all, {invalid_size + "0 in CNTX block"}},
        {"size of 1", with_total_size(good, 1) + good, true, all,
         {w + "No CNTD section found in CNTX block, skipping"}},
        {"tables cut", with_total_size(good, 50) + good, true, all,
         {"3 [vrn metrics parser] " + missing + "'lblv' suffix",
          w + "Could not count metrics from CNTX block 1: " + missing + "suffix"}},
        {"record section cut", tables + "CNTD123", false, {}, {invalid_mark}},
        {"half a trailer", with_bytes(good, "cntdcntx", 4, "xxxx"), false, {}, {invalid_mark}},
        {"no blocksize", tables + "CNTDabccntdcntx", false, {},
         {w + "Insufficient data for blocksize in CNTX block"}},
        {"blocksize alone", tables + "CNTDabcdcntdcntx", true, {}, {}},
        {"record header cut", block_of(record(1) + std::string(13, '\0')), true, one, {}},
        {"no samples", block_of(record(0)), true, {}, {}},
        {"samples after the end", block_of(record(2)), true, {},
         {w + "num_samples 2 exceeds available data (max: 1)"}},
        {"unknown metric", unknown_first.build(), true, one,
         {w + "Invalid metric_id 1 (max: 1), skipping"}},
        {"any metric type", with_bytes(good, "CNTD", 8 + 10, "H"), true, all, {}},
        {"bad labels", with_bytes(good, "CNTD", 8 + 14 + 20 + 2, "X"), true, {{"busy", 1}, {"idle", 1}},
         {"3 [vrn labels block] parse_labels_block: invalid encoding type 'X'",
          failed_labels + "invalid encoding type"}},
        {"bad histogram", with_inserted(good, "CLBL", "HIST"), true, all,
         {"3 [vrn metrics parser] Error parsing histograms: Invalid binary data format: Truncated "
          "'HIST' section"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        const Outcome outcome = count(c.bytes);
        EXPECT_EQ(outcome.counted, c.counted);
        EXPECT_EQ(outcome.counts, c.counts);
        EXPECT_EQ(log.take(), c.lines);
    }
    EXPECT_EQ(count(good, {{"busy", 10}, {"other", 1}}).counts,
              (MetricCounts{{"busy", 12}, {"idle", 2}, {"other", 1}}));
}

TEST(MetricsCount, ShowsItsBlocksAtDebugLevel) {
    const std::string block = block_of(record(0));
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
        if (size + 8 > block.size()) continue;
        EXPECT_EQ(count(block.substr(0, size) + "cntdcntx").counted,
                  size >= block.find("CNTD") + 8);
    }
}

}  // namespace
}  // namespace vrn::test
