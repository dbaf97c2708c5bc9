#include "metrics/metrics_parser.h"

#include <gtest/gtest.h>

#include "metrics/metrics_debug.h"
#include "support/byte_builder.h"
#include "support/captured_log.h"
#include "support/stream_blocks.h"

namespace vrn::test {
namespace {

using metrics::LabelMap;
using metrics::MetricRecord;
using metrics::VrnMetricsParser;
using Lines = std::vector<std::string>;

constexpr char missing_cntd[] =
    "3 [vrn metrics parser] Invalid binary data format: Missing 'CNTD' magic number";

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
    try {
        VrnMetricsParser::parse_cntx_block(block, &outcome.label_names, &outcome.label_values,
                                           &outcome.metric_names, &outcome.records);
    } catch (const std::runtime_error &error) {
        outcome.error = error.what();
    }
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

const Lines sample_records = {"1000 0 0=7 1=9 #0 #1", "2000 0 1=11 #0 'nice'", "3000 1 0=13"};

TEST(MetricsParser, DecodesABlock) {
    CapturedLog log;
    const Outcome outcome = parse(sample_stream().build());
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.label_names, (metrics::LabelNames{{0, {"cpu", "mode"}}, {1, {}}}));
    EXPECT_EQ(outcome.label_values, (Lines{"cpu0", "user"}));
    EXPECT_EQ(outcome.metric_names, (Lines{"busy", "idle"}));
    EXPECT_EQ(shown(outcome.records), sample_records);
    EXPECT_EQ(log.take(), Lines{});
}

TEST(MetricsParser, PassesOverWhatItNeverCompares) {
    struct Case {
        const char *name;
        std::string block;
    };
    const std::string block = sample_stream().build();
    const Case cases[] = {
        {"suffix of label names", with_bytes(block, "lbln", 0, "xxxx")},
        {"suffix of label values", with_bytes(block, "lblv", 0, "xxxx")},
        {"suffix of metric names", with_bytes(block, "cnti", 0, "xxxx")},
        {"end of the trailer", with_bytes(block, "cntdcntx", 4, "xxxx")},
        {"record length", with_bytes(block, "CNTD", 8, "xx")},
        {"value type", with_bytes(block, "CNTD", 8 + 11, "x")},
        {"total size", with_bytes(block, "CNTX", 4, "xxxx")},
        {"blocksize behind the end", with_bytes(block, "CNTD", 4, "xxxx")},
        {"a section nobody knows", with_inserted(block, "LBLV", "ABCD1234")},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const Outcome outcome = parse(c.block);
        EXPECT_EQ(outcome.error, "");
        EXPECT_EQ(shown(outcome.records), sample_records);
    }
}

// The part of a block from "CNTD" on, with `records` for its records.
std::string record_section(const std::string &records) {
    return ByteBuilder().text("CNTD").u32(100).raw(records).text("cntdcntx").done();
}

std::string record_header(char type, std::uint16_t num_samples) {
    return ByteBuilder().u16(0).u64(1).u8(type).u8(1).u16(num_samples).done();
}

TEST(MetricsParser, NamesEachFault) {
    struct Case {
        const char *name;
        std::string block;
        std::string error;
        std::string line;  // empty: none
    };
    const std::string block = sample_stream().build();
    const std::string tables = block.substr(0, block.find("CNTD"));
    const std::string zeros(4, '\0');
    const std::string no_cntd = "Missing 'CNTD' magic number in the binary data";
    const std::string no_trailer = "Invalid magic numbers in the binary data";
    const std::string truncated = "Invalid binary data format: Truncated 'LBLN' section";
    const std::string missing = "Invalid binary data format: Missing ";
    const std::string parser = "3 [vrn metrics parser] ";
    const std::string labels = "3 [vrn labels block] parse_labels_block: ";
    const Case cases[] = {
        {"empty", "", no_cntd, missing_cntd},
        {"no label values", without(block, "LBLV", 20), no_cntd, missing_cntd},
        {"no metric names", without(block, "CNTI", 20), no_cntd, missing_cntd},
        {"label set without count", "LBLN", truncated, ""},
        {"label set behind the end", with_bytes(block, "LBLN", 4, "\xff"), truncated, ""},
        {"suffix of a label set cut", "LBLN\1\1axxx", truncated, ""},
        {"string count cut", "....LBLV\1", missing + "prefix", parser + missing + "'LBLV' prefix"},
        {"more strings than bytes", with_bytes(block, "CNTI", 4, "\xff\xff"), missing + "suffix",
         parser + missing + "'cnti' suffix"},
        {"string behind the end", "....LBLV" + std::string("\1\0\7abcdef", 9), missing + "suffix",
         parser + missing + "'lblv' suffix"},
        {"suffix behind the end", "....LBLV" + std::string("\1\0\1alb", 6), missing + "suffix",
         parser + missing + "'lblv' suffix"},
        {"short record section", tables + "CNTD", no_trailer, ""},
        {"trailer in the mark", tables + "CNTDcntd", no_trailer, ""},
        {"no trailer", with_bytes(block, "cntdcntx", 0, "x"), no_trailer, ""},
        {"invalid type", with_bytes(block, "CNTD", 8 + 10, "H"), "invalid metric type",
         parser + "invalid metric type"},
        {"samples behind the end", with_bytes(block, "CNTD", 8 + 12, "\xff\xff"),
         "num_samples exceeds available data", ""},
        {"blocksize of 0", with_bytes(block, "CNTD", 4, zeros),
         "invalid data pointers in parse_labels_block", labels + "invalid data pointers"},
        {"blocksize before the labels", with_bytes(block, "CNTD", 4, "\x22" + zeros.substr(1)),
         "start_offset exceeds data size", labels + "start_offset (34) exceeds data size (34)"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        EXPECT_EQ(parse(c.block).error, c.error);
        EXPECT_EQ(log.take(), c.line.empty() ? Lines{} : Lines{c.line});
    }
}

TEST(MetricsParser, BoundsTheRecordWalk) {
    struct Case {
        const char *name;
        std::string records;
        Lines shown;
        std::string error;
    };
    const std::string one = record_header('C', 0) + std::string("\0\0L", 3);
    const Case cases[] = {
        {"no records", "", {}, ""},
        {"one record", one, {"1 0"}, ""},
        {"one byte behind the last record", one + "x", {}, "invalid metric type"},
        {"a header that reaches into the trailer",
         one + record_header('C', 0).substr(0, 13),
         {},
         "num_samples exceeds available data"},
        {"labels that reach behind the trailer",
         record_header('C', 0) + "\1\xffL",
         {},
         "insufficient data for 'L' encoding"},
        {"labels that end in the trailer", record_header('C', 0) + "\1\2L", {"1 1 #99 #110"}, ""},
        {"header only", record_header('G', 0), {}, "invalid encoding type"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        const ExactBytes section(record_section(c.records));
        std::string error;
        std::vector<MetricRecord> records;
        try {
            records = VrnMetricsParser::parse_metrics(section);
        } catch (const std::runtime_error &caught) {
            error = caught.what();
        }
        EXPECT_EQ(shown(records), c.shown);
        EXPECT_EQ(error, c.error);
    }
    const ExactBytes no_blocksize("CNTDabccntdcntx");
    EXPECT_EQ(shown(VrnMetricsParser::parse_metrics(no_blocksize)), Lines{});
}

TEST(MetricsParser, RefusesEveryShorterBlock) {
    const std::string block = sample_stream().build();
    for (std::size_t size = 0; size < block.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_NE(parse(block.substr(0, size)).error, "");
    }
    for (std::size_t size = 0; size < block.find("CNTD") + 4; ++size) {
        SCOPED_TRACE(size);
        EXPECT_NE(parse(block.substr(0, size) + "cntdcntx").error, "");
    }
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
    EXPECT_THROW(boost::any_cast<std::uint32_t>(fields["length"]), boost::bad_any_cast);
}

TEST(MetricsParser, TotalSizeReadsMissingBytesAsZeros) {
    struct Case {
        std::string bytes;
        std::uint32_t size;
        const char *line;
    };
    const Case cases[] = {
        {"ab", 0, "7 [vrn metrics parser] Missing 'CNTX' magic number in the binary data"},
        {"abCNTX\1\2\3\4", 0x04030201, "7 [vrn metrics parser] total_size: 67305985"},
        {"CNTX\1\2", 0x201, "7 [vrn metrics parser] total_size: 513"},
        {"CNTX", 0, "7 [vrn metrics parser] total_size: 0"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.bytes);
        CapturedLog log(7);
        EXPECT_EQ(VrnMetricsParser::find_cntx_total_size(ExactBytes(c.bytes)), c.size);
        EXPECT_EQ(log.take(), Lines{c.line});
    }
}

TEST(MetricsParser, ConstantLabelsArePairs) {
    const auto labels = [](const std::string &strings) {
        return VrnMetricsParser::parse_constant_labels(ExactBytes("....CLBL" + strings + "clbl"));
    };
    EXPECT_EQ(labels(std::string("\2\0\1a\1b", 6)), (LabelMap{{"a", "b"}}));
    EXPECT_EQ(labels(std::string("\4\0\1a\1b\1a\1c", 10)), (LabelMap{{"a", "c"}}));
    EXPECT_EQ(labels(std::string("\3\0\1a\1b\1c", 8)), (LabelMap{{"a", "b"}}));
    EXPECT_EQ(labels(std::string("\1\0\1a", 4)), LabelMap{});
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
    Lines lines;
    for (const std::string &line : log.take())
        if (line.find("[vrn labels block]") == std::string::npos) lines.push_back(line);
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
