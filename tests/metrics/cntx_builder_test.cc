#include "metrics/cntx_builder.h"

#include <functional>

#include "metrics/cntx_block_tables.h"
#include "support/stream_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using metrics::CntxBuilder;
using metrics::EncodedLabel;
using metrics::LabelEncoding;
using Buckets = std::vector<metrics::Bucket>;

TEST(CntxBuilder, WritesTheBlockByteForByte) {
    CntxBuilder builder;
    builder.add_label_set({"cpu"});
    const EncodedLabel zero = builder.label_by_id("c0");
    EXPECT_EQ(builder.label_by_id("c0").label_value_id, 0u);
    EXPECT_EQ(builder.add_metric("m"), 0u);
    EXPECT_EQ(builder.add_metric("n"), 1u);
    EXPECT_EQ(builder.add_metric("m"), 0u);
    builder.add_constant_label("h", "x");
    builder.add_record({.timestamp = 5,
                        .metric_type = 'G',
                        .value_type = 4,
                        .labels = {zero},
                        .samples = {{1, 6}}});

    ByteBuilder tables;
    tables.text("LBLN\1\3cpulbln");
    tables.text("LBLV").u16(1).text("\2c0lblv");
    tables.text("CNTI").u16(2).text("\1m\1ncnti");
    tables.text("CLBL").u16(2).text("\1h\1xclbl");
    ByteBuilder record;
    record.u16(29).u64(5).text("G").u8(4).u16(1);
    record.u16(1).u64(6);
    record.u8(0).u8(1).text("ML").u8(0);
    const auto block = [&](const std::string &records) {
        const auto size = static_cast<std::uint32_t>(records.size());
        const auto total_size = static_cast<std::uint32_t>(8 + tables.done().size() + 8 + 8) + size;
        ByteBuilder bytes;
        bytes.text("CNTX").u32(total_size).raw(tables.done());
        bytes.text("CNTD").u32(8 + size + 4).raw(records).text("cntdcntx");
        return bytes.done();
    };
    EXPECT_EQ(builder.build(), block(record.done()));
    builder.clear_records();
    EXPECT_EQ(builder.build(), block(""));
}

TEST(CntxBuilder, HoldsTheLargestHistogram) {
    const std::string long_text = "HIST" + std::string(251, 'x');  // a mark that misleads nobody
    const EncodedLabel text = CntxBuilder::label_by_text(long_text);
    CntxBuilder builder;
    builder.add_label_set(Lines(255, "a"));
    for (int i = 0; i < 2; ++i)
        builder.add_histogram({.buckets = Buckets(255, {2, 3}), .name = long_text},
                              {.labels = std::vector(255, text)});
    const auto read = [&] {
        return metrics::CntxBlockTables::parse(ExactBytes(builder.build())).histograms.histograms;
    };
    ASSERT_EQ(read().size(), 2u);
    const metrics::Histogram histogram = read().at(1);
    EXPECT_EQ(histogram.name, long_text);
    ASSERT_EQ(histogram.buckets.size(), 255u);
    EXPECT_EQ(histogram.buckets[254].count, 3u);
    EXPECT_EQ(histogram.label_values, Lines(255, long_text));
    builder.clear_records();
    EXPECT_TRUE(read().empty());
}

TEST(CntxBuilder, RefusesWhatTheFormatHasNoRoomFor) {
    using Samples = std::vector<metrics::MetricSample>;
    using Add = std::function<void(CntxBuilder &)>;
    const auto times = [](int count, void (*add)(CntxBuilder &, int)) -> Add {
        return [=](CntxBuilder &b) {
            for (int i = 0; i < count; ++i) add(b, i);
        };
    };
    const std::string x256(256, 'x');
    const EncodedLabel text = CntxBuilder::label_by_text("x");
    const EncodedLabel long_label = CntxBuilder::label_by_text(x256);
    const std::vector<EncodedLabel> labels256(256, text);
    // clang-format off
    const struct { const char *line; Add add; } cases[] = {
        {"label name: 256 exceeds the limit of 255", [&](auto &b) { b.add_label_set({x256}); }},
        {"label names: 256 exceeds the limit of 255", [&](auto &b) { b.add_label_set(Lines(256)); }},
        {"label sets: 257 exceeds the limit of 256", times(257, [](auto &b, int) { b.add_label_set({}); })},
        {"label value: 256 exceeds the limit of 255", [&](auto &b) { b.label_by_id(x256); }},
        {"label values: 257 exceeds the limit of 256",
         times(257, [](auto &b, int i) { b.label_by_id(std::to_string(i)); })},
        {"metric name: 256 exceeds the limit of 255", [&](auto &b) { b.add_metric(x256); }},
        {"metric names: 65536 exceeds the limit of 65535",
         times(65536, [](auto &b, int i) { b.add_metric(std::to_string(i)); })},
        {"constant label: 256 exceeds the limit of 255", [&](auto &b) { b.add_constant_label("x", x256); }},
        {"label value: 256 exceeds the limit of 255", [&](auto &b) { b.add_record({.labels = {long_label}}); }},
        {"labels: 256 exceeds the limit of 255", [&](auto &b) { b.add_record({.labels = labels256}); }},
        {"record: 65547 exceeds the limit of 65535",
         [&](auto &b) { b.add_record({.samples = Samples(6553)}); }},
        {"label does not fit encoding 'L'",
         [&](auto &b) { b.add_record({.encoding = LabelEncoding::ids, .labels = {text}}); }},
        {"metric name: 256 exceeds the limit of 255", [&](auto &b) { b.add_histogram({.name = x256}, {}); }},
        {"buckets: 256 exceeds the limit of 255",
         [](auto &b) { b.add_histogram({.buckets = Buckets(256)}, {}); }},
        {"labels: 256 exceeds the limit of 255",
         [&](auto &b) { b.add_histogram({}, {.labels = labels256}); }},
        {"the data holds the section mark 'CNTD'", [](auto &b) { b.add_metric("aCNTDb"), b.build(); }},
        {"the data holds the section mark 'LBLN'",
         [](auto &b) { b.add_record({.samples = {{0, 0x4e4c424c}}}), b.build(); }},
        {"the data holds the section mark 'HIST'",
         [](auto &b) { b.add_constant_label("HIST", ""), b.build(); }},
        {"the data holds the section mark 'CLBL'",
         [](auto &b) { b.add_histogram({.name = "aCLBL"}, {}), b.build(); }},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.line);
        CapturedLog log;
        CntxBuilder builder;
        EXPECT_THROW(c.add(builder), std::runtime_error);
        EXPECT_EQ(log.take(), Lines{std::string("3 [cntx builder] ") + c.line});
    }
}

}  // namespace
}  // namespace vrn::test
