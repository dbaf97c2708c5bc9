// Counters schemas read through a counter set.

#include "counters/counter_data.h"
#include "counters/counter_fixtures.h"
#include "support/test.h"

namespace vrn::test {
namespace {

TEST(CountersSchemaFilter, DescribesAPackedRowOfWhatStayed) {
    const std::string group = R"({"granularity": "CPU", "name": "g", "provider": "p",
        "num_counters": 0, "num_counter_sets": 1, "counters": [)";
    const std::string document =
        R"({"version": "1.5.0", "counter_groups": [)" + group + counter_json("drop", "UINT64") +
        "]}," + group + counter_json("drop_too", "UINT64") + "," +
        counter_json("keep_a", "UINT64") + "," + counter_json("drop_string", "STRING") + "," +
        counter_json("keep_b", "UINT128") + "]}]}";
    const vrn_json_value_ptr value(json_parse_string(document.c_str()));
    const vrn_provider_counter_set_ptr set(vrn_provider_counter_set_create());
    const char *const lines[] = {"keep_a", "keep_b"};
    ASSERT_TRUE(vrn_provider_counter_set_init_from_lines(set.get(), lines, 2));
    CapturedLog log(7);
    const vrn_counters_schema_ptr schema(vrn_counters_schema_from_json(value.get(), set.get()));
    const auto skipped = [](const std::string &name) {
        return "7 Skipping counter '" + name +
               "' as it is not included in the provided counter set";
    };
    EXPECT_EQ(log.take(),
              (Lines{skipped("drop"),
                     "7 No counters found in the counter group after filtering by counter set",
                     skipped("drop_too"), skipped("drop_string"),
                     "7 [schema] Set up counter keep_a  size=0  offset=0",
                     "7 [schema] Set up counter keep_b  size=0  offset=8",
                     "7 vrn_counters_schema_size_of_counters group g has 1 counter sets",
                     "7 vrn_counters_schema_size_of_counters returning 24 d"}));
    ASSERT_NE(schema, nullptr);
    EXPECT_EQ(schema->size, 24U);
    ASSERT_EQ(schema->num_groups, 1U);

    // A row that was written with the full list doesn't match any more.
    const std::string row = ByteBuilder().u64(11).u64(22).zeros(16).done();
    const std::vector<std::uint8_t> bytes(row.begin(), row.end());
    const vrn_json_value_ptr shown(vrn_counters_row_to_json(0, bytes, schema.get(), false));
    const vrn_json_text_ptr text(json_serialize_to_string(shown.get()));
    EXPECT_NE(std::string(text.get()).find(R"("keep_a":11,)"), std::string::npos);
}

}  // namespace
}  // namespace vrn::test
