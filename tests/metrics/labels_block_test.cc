#include "metrics/labels_block.h"

#include "support/stream_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using metrics::EncodedLabel;
using metrics::LabelKeyType;

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
    outcome.error = error_of([&] {
        outcome.end =
            metrics::parse_labels_block(data, start, &outcome.label_set_id, &labels, "the test");
        for (const EncodedLabel &label : labels) outcome.labels.push_back(shown(label));
    });
    return outcome;
}

TEST(LabelsBlock, ReadsEveryEncoding) {
    const struct {
        std::string block;
        Lines labels;
    } cases[] = {
        {std::string("\7\3L\0\xff\4", 6), {"#0", "#255", "#4"}},
        {std::string("\7\2I\2ab\0", 7), {"'ab'", "''"}},
        {"\7\3ML\x9I\3abcL\1", {"#9", "'abc'", "#1"}},
        {std::string("\7\0L", 3), {}},
        {std::string("\7\0I", 3), {}},
        {std::string("\7\0M", 3), {}},
    };
    for (const auto &[block, labels] : cases)
        for (const char *more : {"", "more"}) {
            SCOPED_TRACE(block.substr(2));
            CapturedLog log;
            const Outcome outcome = parse("record" + block + more, 6);
            EXPECT_EQ(outcome.error, "");
            EXPECT_EQ(outcome.end, 6 + block.size());
            EXPECT_EQ(outcome.label_set_id, 7u);
            EXPECT_EQ(outcome.labels, labels);
            EXPECT_EQ(log.take(), Lines{});
        }
}

TEST(LabelsBlock, NamesEachFault) {
    const std::string lacks = "insufficient data for ";
    // clang-format off
    const struct {
        std::string data;
        std::uint64_t start;
        std::string error;
        std::string line;  // after the prefix; empty: as the error
    } cases[] = {
        {"", 0, "invalid data pointers in parse_labels_block", "invalid data pointers"},
        {"abc", 3, "start_offset exceeds data size", "start_offset (3) exceeds data size (3)"},
        {"abc", ~0ull, "start_offset exceeds data size",
         "start_offset (18446744073709551615) exceeds data size (3)"},
        {"abc", 1, lacks + "header", ""},
        {std::string("\1\0X", 3), 0, "invalid encoding type", "invalid encoding type 'X'"},
        {"\1\2La", 0, lacks + "'L' encoding", ""},
        {"\1\1I", 0, lacks + "'I' encoding length", ""},
        {"\1\1I\2a", 0, lacks + "'I' encoding string", ""},
        {"\1\1M", 0, lacks + "'M' encoding sub-type", ""},
        {"\1\1MM", 0, "invalid sub-encoding type", "invalid sub-encoding type 'M'"},
        {"\1\1MI", 0, lacks + "'M/I' encoding length", ""},
        {"\1\1MI\2a", 0, lacks + "'M/I' encoding string", ""},
        {"\1\1ML", 0, lacks + "'M/L' encoding id", ""},
    };
    // clang-format on
    for (const auto &[data, start, error, line] : cases) {
        SCOPED_TRACE(error + line);
        CapturedLog log;
        EXPECT_EQ(parse(data, start).error, error);
        EXPECT_EQ(log.take(), Lines{"3 [vrn labels block] parse_labels_block: " +
                                    (line.empty() ? error : line)});
    }
}

TEST(LabelsBlock, ShowsItsStepsAtDebugLevel) {
    CapturedLog log(7);
    for (const char *block : {"\1\2L\3\4", "\1\1I\2ab", "\1\2MI\1aL\5"}) parse(block, 0);
    const std::string p = "7 [vrn labels block] ";
    const std::string header =
        p + "parse_labels_block: header - label_set_id=1, encoded_label_value_count=";
    EXPECT_EQ(
        log.take(),
        (Lines{header + "2, encoding_type=L, called by the test", p + "L label value id [0]: 3",
               p + "L label value id [1]: 4", p + "after decoding L: 5",
               header + "1, encoding_type=I, called by the test", p + "I label value [0]: 'ab'",
               p + "after decoding I: 6", header + "2, encoding_type=M, called by the test",
               p + "parsed M/I label value [0]: 'a'", p + "parsed M/L label value id [1]: 5",
               p + "after decoding M: 8"}));
}

TEST(LabelsBlock, FaultsOfIdsNestUpTheChain) {
    const EncodedLabel text = {LabelKeyType::label_value, 0, ""};
    const EncodedLabel second = {LabelKeyType::label_value_id, 1, ""};
    EXPECT_EQ(metrics::decode_label_values({second, text}, {"a", "b"}), (Lines{"b", ""}));
    const struct {
        EncodedLabel label;
        Lines values;
        std::string line;
        std::string cause;  // empty: the fault is not one of ids
    } cases[] = {
        {second, {}, "empty label_values array", "empty label_values array"},
        {second, {"a"}, "invalid label id: 1 (max=0)", "invalid label id"},
        {second, {"a", ""}, "empty string at label_values[1]", "invalid label value"},
        {{LabelKeyType(2), 0, ""}, {"a"}, "unknown label key type: 'unknown'", ""},
    };
    for (const auto &[label, values, line, cause] : cases) {
        SCOPED_TRACE(line);
        CapturedLog log;
        const std::string error = error_of([&, label = label, values = values] {
            metrics::decode_label_values({text, label}, values);
        });
        const std::string fault =
            cause.empty() ? "unknown label key type" : "invalid label id format";
        const std::string p = "3 [vrn labels block] decode_label_value";
        Lines lines = {p + ": " + line, p + "s: failed to decode label 1: " + fault};
        if (!cause.empty())
            lines.insert(lines.begin() + 1, p + ": failed to parse label_id '1': " + cause);
        EXPECT_EQ(error, "Failed to decode label value at index 1: " + fault);
        EXPECT_EQ(log.take(), lines);
    }
}

}  // namespace
}  // namespace vrn::test
