#include "metrics/labels_block.h"

#include <gtest/gtest.h>

#include "support/byte_builder.h"
#include "support/captured_log.h"
#include "support/stream_blocks.h"

namespace vrn::test {
namespace {

using metrics::EncodedLabel;
using metrics::LabelKeyType;
using Lines = std::vector<std::string>;

constexpr char prefix[] = "3 [vrn labels block] parse_labels_block: ";

// A label as "#id" or as its text in quotes.
std::string shown(const EncodedLabel &label) {
    if (label.key_type == LabelKeyType::label_value_id)
        return "#" + std::to_string(label.label_value_id) + label.label_value;
    return "'" + label.label_value + "'" + std::string(label.label_value_id, '!');
}

struct Outcome {
    std::uint64_t end = 0;
    std::uint64_t label_set_id = 0;
    Lines labels;
    std::string error;
};

Outcome parse(const std::string &bytes, std::uint64_t start) {
    const ExactBytes data(bytes);
    Outcome outcome;
    std::vector<EncodedLabel> labels = {{LabelKeyType::label_value, 0, "left over"}};
    try {
        outcome.end =
            metrics::parse_labels_block(data, start, &outcome.label_set_id, &labels, "the test");
        for (const EncodedLabel &label : labels) outcome.labels.push_back(shown(label));
    } catch (const std::runtime_error &error) {
        outcome.error = error.what();
    }
    return outcome;
}

TEST(LabelsBlock, ReadsEveryEncoding) {
    struct Case {
        const char *name;
        std::string block;
        Lines labels;
    };
    const Case cases[] = {
        {"ids",
         ByteBuilder().u8(7).u8(3).text("L").u8(0).u8(255).u8(4).done(),
         {"#0", "#255", "#4"}},
        {"texts",
         ByteBuilder().u8(7).u8(2).text("I").u8(2).text("ab").u8(0).done(),
         {"'ab'", "''"}},
        {"mixed",
         ByteBuilder().u8(7).u8(3).text("ML").u8(9).text("I").u8(3).text("abcL").u8(1).done(),
         {"#9", "'abc'", "#1"}},
        {"no ids", ByteBuilder().u8(7).u8(0).text("L").done(), {}},
        {"no texts", ByteBuilder().u8(7).u8(0).text("I").done(), {}},
        {"no mixed", ByteBuilder().u8(7).u8(0).text("M").done(), {}},
    };
    for (const Case &c : cases)
        for (const char *behind : {"", "more"}) {
            SCOPED_TRACE(c.name);
            CapturedLog log;
            const Outcome outcome = parse("record" + c.block + behind, 6);
            EXPECT_EQ(outcome.error, "");
            EXPECT_EQ(outcome.end, 6 + c.block.size());
            EXPECT_EQ(outcome.label_set_id, 7u);
            EXPECT_EQ(outcome.labels, c.labels);
            EXPECT_EQ(log.take(), Lines{});
        }
}

TEST(LabelsBlock, NamesEachFault) {
    struct Case {
        const char *name;
        std::string data;
        std::uint64_t start;
        std::string error;
        std::string line;  // behind the prefix; empty: as the error
    };
    const Case cases[] = {
        {"no data", "", 0, "invalid data pointers in parse_labels_block", "invalid data pointers"},
        {"start at end", "abc", 3, "start_offset exceeds data size",
         "start_offset (3) exceeds data size (3)"},
        {"start far behind", "abc", ~0ull, "start_offset exceeds data size",
         "start_offset (18446744073709551615) exceeds data size (3)"},
        {"short header", "abc", 1, "insufficient data for header", ""},
        {"unknown encoding", std::string("\1\0X", 3), 0, "invalid encoding type",
         "invalid encoding type 'X'"},
        {"ids cut", "\1\2La", 0, "insufficient data for 'L' encoding", ""},
        {"length missing", "\1\1I", 0, "insufficient data for 'I' encoding length", ""},
        {"text cut", "\1\1I\2a", 0, "insufficient data for 'I' encoding string", ""},
        {"kind missing", "\1\1M", 0, "insufficient data for 'M' encoding sub-type", ""},
        {"unknown kind", "\1\1MM", 0, "invalid sub-encoding type", "invalid sub-encoding type 'M'"},
        {"mixed length missing", "\1\1MI", 0, "insufficient data for 'M/I' encoding length", ""},
        {"mixed text cut", "\1\1MI\2a", 0, "insufficient data for 'M/I' encoding string", ""},
        {"mixed id missing", "\1\1ML", 0, "insufficient data for 'M/L' encoding id", ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        EXPECT_EQ(parse(c.data, c.start).error, c.error);
        EXPECT_EQ(log.take(), Lines{prefix + (c.line.empty() ? c.error : c.line)});
    }
}

TEST(LabelsBlock, ShowsItsStepsAtDebugLevel) {
    CapturedLog log(7);
    parse("\1\2L\3\4", 0);
    parse("\1\1I\2ab", 0);
    parse("\1\2MI\1aL\5", 0);
    const std::string header = "7 [vrn labels block] parse_labels_block: header - label_set_id=1, ";
    EXPECT_EQ(log.take(),
              (Lines{header + "encoded_label_value_count=2, encoding_type=L, called by the test",
                     "7 [vrn labels block] L label value id [0]: 3",
                     "7 [vrn labels block] L label value id [1]: 4",
                     "7 [vrn labels block] after decoding L: 5",
                     header + "encoded_label_value_count=1, encoding_type=I, called by the test",
                     "7 [vrn labels block] I label value [0]: 'ab'",
                     "7 [vrn labels block] after decoding I: 6",
                     header + "encoded_label_value_count=2, encoding_type=M, called by the test",
                     "7 [vrn labels block] parsed M/I label value [0]: 'a'",
                     "7 [vrn labels block] parsed M/L label value id [1]: 5",
                     "7 [vrn labels block] after decoding M: 8"}));
}

TEST(LabelsBlock, DecodesIdsAndTexts) {
    const std::vector<EncodedLabel> labels = {{LabelKeyType::label_value_id, 1, ""},
                                              {LabelKeyType::label_value, 0, ""},
                                              {LabelKeyType::label_value, 0, "text"}};
    EXPECT_EQ(metrics::decode_label_values(labels, {"a", "b"}), (Lines{"b", "", "text"}));
    EXPECT_EQ(metrics::decode_label_values({}, {}), Lines{});
}

TEST(LabelsBlock, FaultsOfIdsNestUpTheChain) {
    struct Case {
        const char *name;
        EncodedLabel label;
        Lines values;
        std::string line;
        std::string cause;  // empty: the fault is not one of ids
    };
    const auto logged = [](const std::string &rest) {
        return "3 [vrn labels block] decode_label_value" + rest;
    };
    const EncodedLabel second = {LabelKeyType::label_value_id, 1, ""};
    const Case cases[] = {
        {"no values", second, {}, "empty label_values array", "empty label_values array"},
        {"id too high", second, {"a"}, "invalid label id: 1 (max=0)", "invalid label id"},
        {"empty value",
         second,
         {"a", ""},
         "empty string at label_values[1]",
         "invalid label value"},
        {"unknown kind", {LabelKeyType(2), 0, ""}, {"a"}, "unknown label key type: 'unknown'", ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        std::string error;
        try {
            metrics::decode_label_values({{LabelKeyType::label_value, 0, "fine"}, c.label},
                                         c.values);
        } catch (const std::runtime_error &caught) {
            error = caught.what();
        }
        const std::string text =
            c.cause.empty() ? "unknown label key type" : "invalid label id format";
        Lines lines = {logged(": " + c.line), logged("s: failed to decode label 1: " + text)};
        if (!c.cause.empty())
            lines.insert(lines.begin() + 1, logged(": failed to parse label_id '1': " + c.cause));
        EXPECT_EQ(error, "Failed to decode label value at index 1: " + text);
        EXPECT_EQ(log.take(), lines);
    }
}

}  // namespace
}  // namespace vrn::test
