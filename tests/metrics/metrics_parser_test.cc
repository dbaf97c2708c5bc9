#include "metrics/metrics_parser.h"

#include "support/stream_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using metrics::LabelMap;
using metrics::MetricRecord;
using metrics::VrnMetricsParser;

struct Outcome {
    metrics::LabelNames label_names;
    Lines label_values;
    Lines metric_names;
    std::vector<MetricRecord> records;
    std::string error;
};

Outcome parse(const std::string &bytes) {
    const ExactBytes block(bytes);
    Outcome outcome;
    outcome.error = error_of([&] {
        VrnMetricsParser::parse_cntx_block(block, &outcome.label_names, &outcome.label_values,
                                           &outcome.metric_names, &outcome.records);
    });
    return outcome;
}

// "timestamp set id=value id=value #labelid 'label'"
Lines shown(const std::vector<MetricRecord> &records) {
    Lines lines;
    for (const MetricRecord &record : records) {
        std::string line =
            std::to_string(record.timestamp) + " " + std::to_string(record.label_set_id);
        for (const metrics::MetricSample sample : record.samples.samples)
            line +=
                " " + std::to_string(sample.sample_id) + "=" + std::to_string(sample.sample_value);
        for (const metrics::EncodedLabel &label : record.encoded_labels)
            line += label.key_type == metrics::LabelKeyType::label_value
                        ? " '" + label.label_value + "'"
                        : " #" + std::to_string(label.label_value_id);
        lines.push_back(line);
    }
    return lines;
}

TEST(MetricsParser, DecodesABlockWhateverStandsWhereItNeverLooks) {
    const std::string block = sample_stream().build();
    // clang-format off
    const struct { const char *name; std::string block; } cases[] = {
        {"nothing odd", block},
        {"suffix of label names", with_bytes(block, "lbln", 0, "xxxx")},
        {"suffix of label values", with_bytes(block, "lblv", 0, "xxxx")},
        {"suffix of metric names", with_bytes(block, "cnti", 0, "xxxx")},
        {"end of the trailer", with_bytes(block, "cntdcntx", 4, "xxxx")},
        {"record length", with_bytes(block, "CNTD", 8, "xx")},
        {"value type", with_bytes(block, "CNTD", 8 + 11, "x")},
        {"total size", with_bytes(block, "CNTX", 4, "xxxx")},
        {"blocksize past the end", with_bytes(block, "CNTD", 4, "xxxx")},
        {"a section nobody knows", with_inserted(block, "LBLV", "ABCD1234")},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        const Outcome outcome = parse(c.block);
        EXPECT_EQ(outcome.error, "");
        EXPECT_EQ(outcome.label_names, (metrics::LabelNames{{0, {"cpu", "mode"}}, {1, {}}}));
        EXPECT_EQ(outcome.label_values, (Lines{"cpu0", "user"}));
        EXPECT_EQ(outcome.metric_names, (Lines{"busy", "idle"}));
        EXPECT_EQ(shown(outcome.records),
                  (Lines{"1000 0 0=7 1=9 #0 #1", "2000 0 1=11 #0 'nice'", "3000 1 0=13"}));
        EXPECT_EQ(log.take(), Lines{});
    }
}

TEST(MetricsParser, NamesEachFault) {
    const std::string block = sample_stream().build();
    const std::string tables = block.substr(0, block.find("CNTD"));
    const std::string zeros(4, '\0');
    const std::string no_trailer = "Invalid magic numbers in the binary data";
    const std::string truncated = "Invalid binary data format: Truncated 'LBLN' section";
    const std::string missing = "Invalid binary data format: Missing ";
    const std::string no_cntd = "Missing 'CNTD' magic number in the binary data";
    const std::string parser = "3 [vrn metrics parser] ";
    const std::string missing_cntd = parser + missing + "'CNTD' magic number";
    const std::string labels = "3 [vrn labels block] parse_labels_block: ";
    // clang-format off
    const struct { const char *name; std::string block, error, line; } cases[] = {
        {"empty", "", no_cntd, missing_cntd},
        {"no label values", without(block, "LBLV", 20), no_cntd, missing_cntd},
        {"no metric names", without(block, "CNTI", 20), no_cntd, missing_cntd},
        {"label set without count", "LBLN", truncated, ""},
        {"label set past the end", with_bytes(block, "LBLN", 4, "\xff"), truncated, ""},
        {"suffix of a label set cut", "LBLN\1\1axxx", truncated, ""},
        {"string count cut", "....LBLV\1", missing + "prefix", parser + missing + "'LBLV' prefix"},
        {"more strings than bytes", with_bytes(block, "CNTI", 4, "\xff\xff"), missing + "suffix",
         parser + missing + "'cnti' suffix"},
        {"string past the end", "....LBLV" + std::string("\1\0\7abcdef", 9), missing + "suffix",
         parser + missing + "'lblv' suffix"},
        {"suffix past the end", "....LBLV" + std::string("\1\0\1alb", 6), missing + "suffix",
         parser + missing + "'lblv' suffix"},
        {"short record section", tables + "CNTD", no_trailer, ""},
        {"trailer in the mark", tables + "CNTDcntd", no_trailer, ""},
        {"no trailer", with_bytes(block, "cntdcntx", 0, "x"), no_trailer, ""},
        {"invalid type", with_bytes(block, "CNTD", 8 + 10, "H"), "invalid metric type",
         parser + "invalid metric type"},
        {"samples past the end", with_bytes(block, "CNTD", 8 + 12, "\xff\xff"),
         "num_samples exceeds available data", ""},
        {"blocksize of 0", with_bytes(block, "CNTD", 4, zeros),
         "invalid data pointers in parse_labels_block", labels + "invalid data pointers"},
        {"blocksize before the labels", with_bytes(block, "CNTD", 4, "\x22" + zeros.substr(1)),
         "start_offset exceeds data size", labels + "start_offset (34) exceeds data size (34)"},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        EXPECT_EQ(parse(c.block).error, c.error);
        EXPECT_EQ(log.take(), c.line.empty() ? Lines{} : Lines{c.line});
    }
    for (std::size_t size = 0; size < block.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_NE(parse(block.substr(0, size)).error, "");
        if (size < tables.size() + 4) {
            EXPECT_NE(parse(block.substr(0, size) + "cntdcntx").error, "");
        }
    }
}

TEST(MetricsParser, BoundsTheRecordWalk) {
    const auto header = [](char type) {
        return ByteBuilder().u16(0).u64(1).u8(type).u8(1).u16(0).done();
    };
    const std::string one = header('C') + std::string("\0\0L", 3);
    // clang-format off
    const struct { const char *name; std::string records; Lines shown; std::string error; } cases[] = {
        {"no records", "", {}, ""},
        {"one record", one, {"1 0"}, ""},
        {"one byte after the last record", one + "x", {}, "invalid metric type"},
        {"a header that reaches into the trailer", one + header('C').substr(0, 13), {},
         "num_samples exceeds available data"},
        {"labels past the trailer", header('C') + "\1\xffL", {}, "insufficient data for 'L' encoding"},
        {"labels that end in the trailer", header('C') + "\1\2L", {"1 1 #99 #110"}, ""},
        {"header only", header('G'), {}, "invalid encoding type"},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        const ExactBytes section(
            ByteBuilder().text("CNTD").u32(100).raw(c.records).text("cntdcntx").done());
        std::vector<MetricRecord> records;
        EXPECT_EQ(error_of([&] { records = VrnMetricsParser::parse_metrics(section); }), c.error);
        EXPECT_EQ(shown(records), c.shown);
    }
    EXPECT_EQ(shown(VrnMetricsParser::parse_metrics(ExactBytes("CNTDabccntdcntx"))), Lines{});
}

TEST(MetricsParser, RecordHeaderHoldsCheckedTypes) {
    const ExactBytes record(
        ByteBuilder().u16(24).u64(9).text("G").u8(2).u16(1).u16(3).u64(4).done());
    auto fields = VrnMetricsParser::parse_record_header(record);
    EXPECT_EQ(fields.size(), 5u);
    EXPECT_EQ(boost::any_cast<std::uint16_t>(fields["length"]), 24);
    EXPECT_EQ(boost::any_cast<std::uint64_t>(fields["timestamp"]), 9u);
    EXPECT_EQ(boost::any_cast<std::uint64_t>(fields["num_samples"]), 1u);
    EXPECT_EQ(boost::any_cast<std::string>(fields["type"]), "G");
    const auto batch = boost::any_cast<metrics::MetricsBatch>(fields["metrics"]);
    ASSERT_EQ(batch.samples.size(), 1u);
    EXPECT_EQ(+batch.samples[0].sample_id, 3);
    EXPECT_EQ(+batch.samples[0].sample_value, 4u);
}

TEST(MetricsParser, TotalSizeReadsMissingBytesAsZeros) {
    const std::string p = "7 [vrn metrics parser] ";
    const struct {
        std::string bytes;
        std::uint32_t size;
        std::string line;
    } cases[] = {
        {"ab", 0, p + "Missing 'CNTX' magic number in the binary data"},
        {"abCNTX\1\2\3\4", 0x04030201, p + "total_size: 67305985"},
        {"CNTX\1\2", 0x201, p + "total_size: 513"},
        {"CNTX", 0, p + "total_size: 0"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.bytes);
        CapturedLog log(7);
        EXPECT_EQ(VrnMetricsParser::find_cntx_total_size(ExactBytes(c.bytes)), c.size);
        EXPECT_EQ(log.take(), Lines{c.line});
    }
}

TEST(MetricsParser, LabelNamesAreAppendedAndEndWithTheLastSet) {
    metrics::LabelNames names = {{0, {"x"}}, {2, {"left over"}}};
    VrnMetricsParser::parse_label_names(ExactBytes(sample_stream().build()), &names);
    EXPECT_EQ(names, (metrics::LabelNames{{0, {"x", "cpu", "mode"}}, {1, {}}}));
}

TEST(MetricsParser, ConstantLabelsArePairs) {
    const auto labels = [](const std::string &strings) {
        return VrnMetricsParser::parse_constant_labels(ExactBytes("....CLBL" + strings + "clbl"));
    };
    EXPECT_EQ(labels(std::string("\4\0\1a\1b\1a\1c", 10)), (LabelMap{{"a", "c"}}));
    EXPECT_EQ(labels(std::string("\3\0\1a\1b\1c", 8)), (LabelMap{{"a", "b"}}));
    EXPECT_EQ(VrnMetricsParser::parse_constant_labels(ExactBytes("nothing")), LabelMap{});
}

TEST(MetricsParser, ShowsTheBlockAtDebugLevel) {
    metrics::CntxBuilder builder;
    builder.add_label_set({});
    builder.add_label_set({"a", "b"});
    const metrics::EncodedLabel id = builder.label_by_id("v");
    builder.label_by_id("w");
    builder.add_metric("m");
    builder.add_record({.timestamp = 5,
                        .label_set_id = 1,
                        .labels = {id, metrics::CntxBuilder::label_by_text("t")},
                        .samples = {{0, 6}}});
    const std::string block = builder.build();
    CapturedLog log(7);
    EXPECT_EQ(parse(block).error, "");
    Lines lines = log.take();
    std::erase_if(lines, [](const auto &line) { return line.find("labels block") != line.npos; });
    const std::string p = "7 [vrn metrics parser] ";
    EXPECT_EQ(
        lines,
        (Lines{p + "total_size: " + std::to_string(block.size()), p + "empty label names vector",
               p + "Label Names [0] ", p + "Label Names [1] a,b", p + "Label values count: 2",
               p + "Metric names count: 1", p + "Values: 'v,w', Size: 2",
               p + "Values: 'm', Size: 1", p + "data_len = 48", p + "End of data at 36",
               p + "blocksize= 44", p + "offset=4 end=36",
               p + "Metrics Batch: ", p + "Timestamp: 5", p + "  sample_id: 0, sample_value: 6",
               p + "encoded label: label_value_id: 0, decoded label[0]: v",
               p + "encoded label: label_value: 0, decoded label[1]: t"}));
}

}  // namespace
}  // namespace vrn::test
