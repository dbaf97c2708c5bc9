#include "metrics/cntx_builder.h"

#include <gtest/gtest.h>

#include <functional>

#include "support/byte_builder.h"
#include "support/captured_log.h"
#include "support/stream_blocks.h"

namespace vrn::test {
namespace {

using metrics::CntxBuilder;
using metrics::EncodedLabel;
using metrics::LabelEncoding;
using Lines = std::vector<std::string>;

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

    const std::string tables = ByteBuilder()
                                   .text("LBLN")
                                   .u8(1)
                                   .u8(3)
                                   .text("cpu")
                                   .text("lbln")
                                   .text("LBLV")
                                   .u16(1)
                                   .u8(2)
                                   .text("c0")
                                   .text("lblv")
                                   .text("CNTI")
                                   .u16(2)
                                   .u8(1)
                                   .text("m")
                                   .u8(1)
                                   .text("n")
                                   .text("cnti")
                                   .text("CLBL")
                                   .u16(2)
                                   .u8(1)
                                   .text("h")
                                   .u8(1)
                                   .text("x")
                                   .text("clbl")
                                   .done();
    const std::string record = ByteBuilder()
                                   .u16(29)
                                   .u64(5)
                                   .text("G")
                                   .u8(4)
                                   .u16(1)
                                   .u16(1)
                                   .u64(6)
                                   .u8(0)
                                   .u8(1)
                                   .text("ML")
                                   .u8(0)
                                   .done();
    const auto empty_size = static_cast<std::uint32_t>(8 + tables.size() + 8 + 8);
    EXPECT_EQ(builder.build(), ByteBuilder()
                                   .text("CNTX")
                                   .u32(empty_size + 29)
                                   .raw(tables)
                                   .text("CNTD")
                                   .u32(8 + 29 + 4)
                                   .raw(record)
                                   .text("cntdcntx")
                                   .done());
    builder.clear_records();
    EXPECT_EQ(builder.build(), ByteBuilder()
                                   .text("CNTX")
                                   .u32(empty_size)
                                   .raw(tables)
                                   .text("CNTD")
                                   .u32(8 + 4)
                                   .text("cntdcntx")
                                   .done());
}

TEST(CntxBuilder, RefusesWhatTheFormatHasNoRoomFor) {
    struct Case {
        const char *line;
        std::function<void(CntxBuilder &)> add;
    };
    const std::string long_text(256, 'x');
    const EncodedLabel text = CntxBuilder::label_by_text("x");
    const Case cases[] = {
        {"label name: 256 exceeds the limit of 255",
         [&](CntxBuilder &b) { b.add_label_set({long_text}); }},
        {"label names: 256 exceeds the limit of 255",
         [&](CntxBuilder &b) { b.add_label_set(Lines(256)); }},
        {"label sets: 257 exceeds the limit of 256",
         [&](CntxBuilder &b) {
             for (int i = 0; i < 257; ++i) b.add_label_set({});
         }},
        {"label value: 256 exceeds the limit of 255",
         [&](CntxBuilder &b) { b.label_by_id(long_text); }},
        {"label values: 257 exceeds the limit of 256",
         [&](CntxBuilder &b) {
             for (int i = 0; i < 257; ++i) b.label_by_id(std::to_string(i));
         }},
        {"metric name: 256 exceeds the limit of 255",
         [&](CntxBuilder &b) { b.add_metric(long_text); }},
        {"metric names: 65536 exceeds the limit of 65535",
         [&](CntxBuilder &b) {
             for (int i = 0; i < 65536; ++i) b.add_metric(std::to_string(i));
         }},
        {"constant label: 256 exceeds the limit of 255",
         [&](CntxBuilder &b) { b.add_constant_label("x", long_text); }},
        {"label value: 256 exceeds the limit of 255",
         [&](CntxBuilder &b) {
             b.add_record({.labels = {CntxBuilder::label_by_text(long_text)}});
         }},
        {"labels: 256 exceeds the limit of 255",
         [&](CntxBuilder &b) { b.add_record({.labels = std::vector(256, text)}); }},
        {"record: 65547 exceeds the limit of 65535",
         [&](CntxBuilder &b) {
             b.add_record({.samples = std::vector<metrics::MetricSample>(6553)});
         }},
        {"label does not fit encoding 'L'",
         [&](CntxBuilder &b) { b.add_record({.encoding = LabelEncoding::ids, .labels = {text}}); }},
        {"the data holds the section mark 'CNTD'",
         [&](CntxBuilder &b) {
             b.add_metric("aCNTDb");
             b.build();
         }},
        {"the data holds the section mark 'LBLN'",
         [&](CntxBuilder &b) {
             b.add_record({.samples = {{0, 0x4e4c424c}}});
             b.build();
         }},
        {"the data holds the section mark 'HIST'",
         [&](CntxBuilder &b) {
             b.add_constant_label("HIST", "");
             b.build();
         }},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.line);
        CapturedLog log;
        CntxBuilder builder;
        EXPECT_THROW(c.add(builder), std::runtime_error);
        EXPECT_EQ(log.take(), Lines{std::string("3 [cntx builder] ") + c.line});
    }
}

}  // namespace
}  // namespace vrn::test
