
#include <cmath>
#include <ctime>

#include "counters/counter_data.h"
#include "counters/counter_fixtures.h"
#include "counters/counters_table.h"
#include "support/test.h"

namespace vrn::test {
namespace {

constexpr std::uint64_t timestamp = 1782000000123456;
const std::string json_start =
    R"({"timestamp":1782000000123456,"@timestamp":"2026-06-21 00:00:00.123","groups":[)";
const std::string table_start = "Data collected at 2026-06-21 00:00:00.123\n";

class CountersRow : public testing::Test {
  protected:
    CountersRow() { tzset(); }

    // Both take a copy of exactly the row's bytes, so that a sanitizer sees any read beyond.
    static std::string json_of(const std::string &row, const vrn_counters_schema_t *schema,
                               bool microseconds = false) {
        const std::vector<std::uint8_t> exact(row.begin(), row.end());
        const vrn_json_value_ptr value(
            vrn_counters_row_to_json(timestamp, exact, schema, microseconds));
        return vrn_json_text_ptr(json_serialize_to_string(value.get())).get();
    }
    static std::string table_of(const std::string &row, const vrn_counters_schema_t *schema) {
        const std::vector<std::uint8_t> exact(row.begin(), row.end());
        return captured_stream([&](std::FILE *stream) {
            vrn_counters_row_print(stream, timestamp, exact, schema, false);
        });
    }

  private:
    const ScopedEnv zone_{"TZ", "UTC"};
};

TEST_F(CountersRow, JsonHasOneObjectForEachCounterSet) {
    const auto schema = parse_schema(
        R"({"version": "1.5.0", "counter_groups": [
            {"granularity": "CPU", "name": "ticks", "num_counters": 2, "num_counter_sets": 3,
             "counters": [)" +
        counter_json("user", "UINT64") + "," + counter_json("state", "STRING", R"(, "length": 3)") +
        R"(]},
            {"granularity": "SOCKET", "num_counters": 0, "num_counter_sets": 1, "counters": [)" +
        counter_json("node_guid", "UINT64") + R"(]},
            {"granularity": "NODE", "num_counters": 0, "num_counter_sets": 0, "counters": []}]})");
    ASSERT_NE(schema, nullptr);
    const std::string row = ByteBuilder().u64(42).text("run").u64(0xabc).done();
    EXPECT_EQ(json_of(row, schema.get()),
              json_start + R"({"granularity":"CPU","name":"ticks","counter_sets":[)"
                           R"({"user":42,"state":"run"},{"user":42,"state":"run"},)"
                           R"({"user":42,"state":"run"}]},)"
                           R"({"granularity":"unknown","name":"unset","counter_sets":[)"
                           R"({"node_guid":"0x0000000000000abc"}]},)"
                           R"({"granularity":"NODE","name":"unset","counter_sets":[]}]})");
    EXPECT_NE(json_of(row, schema.get(), true).find("00:00:00.123456\""), std::string::npos);
}

TEST_F(CountersRow, JsonLeavesOutWhatItCannotHold) {
    const auto schema =
        parse_schema(schema_json(counter_json("nan", "FP64") + "," + counter_json("inf", "FP64") +
                                     "," + counter_json("text", "STRING", R"(, "length": 4)") +
                                     "," + counter_json("tail", "STRING", R"(, "length": 4)"),
                                 "1"));
    ASSERT_NE(schema, nullptr);
    const std::string row = ByteBuilder().f64(NAN).f64(-INFINITY).text("ok").zeros(2).done();
    // The last text ends amid a character, where the row ends.
    EXPECT_EQ(json_of(row + "ab\xE2\x82", schema.get()),
              json_start + R"({"granularity":"CPU","name":"g","counter_sets":[{"text":"ok"}]}]})");
}

TEST_F(CountersRow, TablesShowEveryType) {
    const auto schema = parse_schema(schema_json(
        counter_json("text", "STRING", R"(, "length": 8)") + "," + counter_json("fp64", "FP64") +
            "," + counter_json("uint64", "UINT64") + "," + counter_json("bit64", "BIT64") + "," +
            counter_json("bit64_decimal", "BIT64", R"(, "string_format": "DECIMAL")") + "," +
            counter_json("int64", "INT64") + "," + counter_json("undefined", "Undefined") + "," +
            counter_json("uuid_of_sixteen_bytes", "UINT128", R"(, "string_format": "UUID")"),
        "2"));
    ASSERT_NE(schema, nullptr);
    ByteBuilder set;
    set.field("text", 8).f64(0.125).u64(UINT64_MAX).u64(10).u64(10).i64(-1).i64(1000);
    set.text("01234567");
    // The second set ends in its sixth slot.
    const std::string row = set.done() + set.done().substr(0, 44);
    const std::string rule(1 + 8 * 23 + 6, '-');
    EXPECT_EQ(table_of(row, schema.get()),
              table_start + rule + "\n| Counter values per CPU" + std::string(165, ' ') + " |\n" +
                  rule +
                  "\n| CPU |                 text |                 fp64 |               uint64 |"
                  "                bit64 |        bit64_decimal |                int64 |"
                  "            undefined | uuid_of_sixteen_bytes |\n" +
                  rule +
                  "\n|   0 |                 text |             0.125000 | 18446744073709551615 |"
                  "   0x000000000000000a |                   10 |                   -1 |"
                  "                  1 k | 30313233-3435-3637-7465-787400000000 |\n"
                  "|   1 |                 text |             0.125000 | 18446744073709551615 |"
                  "   0x000000000000000a |                   10 |           4294967295 |"
                  "                    0 | 00000000-0000-0000-0000-000000000000 |\n" +
                  rule + "\n");
}

TEST_F(CountersRow, TablesFrameGroupsWithoutCountersOrSets) {
    const std::string hex = counter_json("hex", "UINT64", R"(, "string_format": "HEXADECIMAL")");
    const auto group = [&](const char *granularity, int counters, int sets) {
        return std::string(R"({"name": "g", "granularity": ")") + granularity +
               R"(", "num_counter_sets": )" + std::to_string(sets) + R"(, "num_counters": )" +
               std::to_string(counters) + R"(, "counters": [)" + (counters == 0 ? "" : hex) + "]}";
    };
    const auto schema =
        parse_schema(R"({"version": "1.5.0", "counter_groups": [)" + group("CPU", 0, 1) + "," +
                     group("NODE", 1, 0) + "," + group("SOCKET", 1, 1) + "]}");
    ASSERT_NE(schema, nullptr);
    EXPECT_EQ(table_of(ByteBuilder().u64(255).done(), schema.get()),
              table_start +
                  "-------\n| Counter values per CPU              |\n-------\n| CPU |\n"
                  "-------\n|   0 |\n-------\n"
                  "------------------------\n| Counter values per N |\n"
                  "------------------------\n|                  hex |\n"
                  "------------------------\n------------------------\n"
                  "----------------------------------\n"
                  "| Counter values per unknown     |\n"
                  "----------------------------------\n"
                  "| unknown |                  hex |\n"
                  "----------------------------------\n"
                  "|       0 |   0x00000000000000ff |\n"
                  "----------------------------------\n");
}

// Blocks end just where their counters or slots do, so that a sanitizer sees any read beyond.
TEST_F(CountersRow, BlocksAreReadAsFarAsTheirSchemaReaches) {
    const std::string counters =
        counter_json("a", "UINT64", R"(, "length": 1)") + "," + counter_json("b", "UINT64");
    const auto schema = parse_schema(schema_json(counters, "2"));
    ASSERT_NE(schema, nullptr);
    schema->size = 0;
    const auto with_block = [](std::size_t row_size, const auto &use) {
        const std::string row(row_size, '\1');
        const std::string all = ByteBuilder().text("VRND").u32(0).u64(timestamp).raw(row).done();
        const std::vector<std::uint8_t> exact(all.begin(), all.end());
        return use(reinterpret_cast<const vrn_data_block_t *>(exact.data()));
    };
    const auto json = with_block(9, [&](const vrn_data_block_t *block) {
        const vrn_json_value_ptr value(vrn_counters_block_to_json(block, schema.get(), true));
        return std::string(vrn_json_text_ptr(json_serialize_to_string(value.get())).get());
    });
    const std::string ones = R"({"a":72340172838076672,"b":72340172838076672})";
    EXPECT_EQ(json, R"({"timestamp":1782000000123456,"@timestamp":"2026-06-21 00:00:00.123456",)"
                    R"("groups":[{"granularity":"CPU","name":"g","counter_sets":[)" +
                        ones + "," + ones + "]}]}");
    const auto table = with_block(32, [&](const vrn_data_block_t *block) {
        return captured_stream([&](std::FILE *stream) {
            vrn_counters_block_print(stream, block, schema.get(), false);
        });
    });
    EXPECT_NE(table.find("|   1 |    72340172838076673 |    72340172838076673 |"),
              std::string::npos);
}

}  // namespace
}  // namespace vrn::test
