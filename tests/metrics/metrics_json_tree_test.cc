#include "metrics/metrics_json_tree.h"

#include "data/text/json_value.h"
#include "metrics/metrics_parser.h"
#include "support/stream_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using metrics::CntxBlockTables;
using metrics::CntxBuilder;
using metrics::CntxRecord;
using metrics::MetricRecord;
using metrics::VrnMetricsParser;

// Compact JSON; empty for null.
std::string text_of(JSON_Value *value) {
    const vrn_json_value_ptr owner(value);
    const vrn_json_text_ptr text(json_serialize_to_string(value));
    return text ? text.get() : "";
}

std::string json_of(const std::string &block, bool microseconds = false) {
    const ExactBytes bytes(block);
    CntxBlockTables tables;
    std::vector<MetricRecord> records;
    VrnMetricsParser::parse_cntx_block(bytes, &tables.label_names, &tables.label_values,
                                       &tables.metric_names, &records);
    tables.constant_labels = VrnMetricsParser::parse_constant_labels(bytes);
    return text_of(metrics_to_json(tables, records, microseconds));
}

// UTC, so that the times shown don't depend on the host.
class MetricsJson : public testing::Test {
  protected:
    void SetUp() override { tzset(); }
    void TearDown() override { tzset(); }

  private:
    ScopedEnv zone_{"TZ", "UTC0"};
};

CntxBuilder two_sets() {
    CntxBuilder builder;
    builder.add_label_set({"a"});
    builder.add_metric("m");
    builder.add_metric("n");
    builder.label_by_id("v");
    return builder;
}

CntxRecord record_of(std::uint64_t timestamp, std::uint8_t set, std::uint64_t value) {
    return {.timestamp = timestamp,
            .label_set_id = set,
            .labels = {CntxBuilder::label_by_text("t" + std::to_string(value))},
            .samples = {{0, value}}};
}

std::string json_of_records(const std::vector<CntxRecord> &records) {
    CntxBuilder builder = two_sets();
    for (const CntxRecord &record : records) builder.add_record(record);
    return json_of(builder.build());
}

TEST_F(MetricsJson, ShowsTheLastRecordOnly) {
    const CntxRecord a = record_of(1500, 0, 1);
    const CntxRecord b = record_of(2500, 0, 2);
    const CntxRecord unknown = record_of(3500, 9, 3);
    const std::string time_of_a = R"({"timestamp":1500,"@timestamp":"1970-01-01 00:00:00.001",)";
    const std::string time_of_unknown =
        R"({"timestamp":3500,"@timestamp":"1970-01-01 00:00:00.003",)";
    const std::string one = time_of_a + R"("labels":[{"a":"t1"}],"metrics":[{"m":1}]})";
    // clang-format off
    const struct { const char *name; std::vector<CntxRecord> records; std::string json; } cases[] = {
        {"none", {}, "{}"},
        {"one", {a}, one},
        {"three", {b, b, a}, one},
        {"unknown label set alone", {unknown}, time_of_unknown + R"("metrics":[{"m":3}]})"},
        {"unknown label set last", {b, a, unknown},
         time_of_unknown + R"("labels":[{"a":"t1"}],"metrics":[{"m":3}]})"},
        {"unknown label set first", {unknown, b, a},
         time_of_a + R"("metrics":[{"m":1}],"labels":[{"a":"t1"}]})"},
        {"unknown label sets around", {unknown, b, unknown},
         time_of_unknown + R"("metrics":[{"m":3}],"labels":[{"a":"t2"}]})"},
        {"no samples", {a, {.timestamp = 0, .label_set_id = 9}},
         R"({"timestamp":0,"@timestamp":"1970-01-01 00:00:00.000","labels":[{"a":"t1"}],"metrics":[]})"},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        EXPECT_EQ(json_of_records(c.records), c.json);
        EXPECT_EQ(log.take(), Lines{});
    }
}

TEST_F(MetricsJson, ShowsValuesAsUnsignedDoubles) {
    CntxBuilder builder = two_sets();
    builder.add_record({.timestamp = 1'700'000'000'123'456,
                        .metric_type = 'G',
                        .value_type = 2,
                        .label_set_id = 9,
                        .samples = {{1, 0x3ff0000000000000}, {1, ~0ull}, {0, (1ull << 53) + 1}}});
    EXPECT_EQ(json_of(builder.build(), true),
              R"({"timestamp":1700000000123456,"@timestamp":"2023-11-14 22:13:20.123456",)"
              R"("metrics":[{"n":4.6071824188000174e+18},{"n":1.8446744073709552e+19},)"
              R"({"m":9007199254740992}]})");
}

TEST_F(MetricsJson, RecordLabelsOverwriteConstants) {
    CntxBuilder builder = two_sets();
    builder.add_constant_label("a", "constant");
    const std::string start = R"({"timestamp":0,"@timestamp":"1970-01-01 00:00:00.000","labels":)";
    builder.add_record({.label_set_id = 0});
    EXPECT_EQ(json_of(builder.build()), start + R"([{"a":"constant"}],"metrics":[]})");
    builder.add_record({.label_set_id = 0, .labels = {builder.label_by_id("v")}});
    EXPECT_EQ(json_of(builder.build()), start + R"([{"a":"v"}],"metrics":[]})");
    EXPECT_EQ(text_of(metrics::labels_to_json_array({})), "[]");
}

// Each fault fails the block in whichever record it stands, also in one that would not be seen.
TEST_F(MetricsJson, NamesEachFault) {
    const std::string failed = "3 failed to JSONify metrics: ";
    const metrics::EncodedLabel text = CntxBuilder::label_by_text("t");
    const struct {
        const char *name;
        CntxRecord record;
        Lines lines;
    } cases[] = {
        {"unknown metric", {.samples = {{2, 0}}}, {failed + "invalid metric id"}},
        {"more labels than names", {.labels = {text, text}}, {failed + "label count mismatch"}},
        {"not UTF-8",
         {.labels = {CntxBuilder::label_by_text("\xff")}},
         {"3 Failed allocating JSON object", "3 Failed allocating JSON object"}},
    };
    const CntxRecord good = record_of(1, 0, 1);
    for (const auto &c : cases)
        for (const std::vector<CntxRecord> &records :
             {std::vector{c.record}, {c.record, good}, {good, c.record, good}, {good, c.record}}) {
            SCOPED_TRACE(c.name);
            CapturedLog log;
            EXPECT_EQ(json_of_records(records), "");
            EXPECT_EQ(log.take(), c.lines);
        }
}

TEST_F(MetricsJson, ConstantsThatAreNotUtf8FailUnlessEachRecordOverwritesThem) {
    CntxBuilder builder = two_sets();
    builder.add_constant_label("a", "\xff");
    builder.add_record(record_of(1, 0, 1));
    CapturedLog log;
    EXPECT_NE(json_of(builder.build()), "");
    EXPECT_EQ(log.take(), Lines{});
    builder.add_record({.label_set_id = 0});
    builder.add_record(record_of(1, 0, 1));
    EXPECT_EQ(json_of(builder.build()), "");
    EXPECT_EQ(log.take(), Lines(2, "3 Failed allocating JSON object"));
}

}  // namespace
}  // namespace vrn::test
