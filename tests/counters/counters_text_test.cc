#include "counters/counters_text.h"

#include <gtest/gtest.h>

#include <vector>

#include "counters/counter_fixtures.h"
#include "support/failing_allocation.h"

namespace vrn::test {
namespace {

// Comparison with the tree is a matter of json_difference_test.cc.
TEST(CountersText, WritesARowAfterAnyFailedAllocation) {
    const auto schema = parse_schema(schema_json(
        counter_json("a_long_name_of_a_counter", "UINT64") + "," + counter_json("b", "INT64"),
        "1"));
    ASSERT_NE(schema, nullptr);
    const std::vector<std::uint8_t> values(16, 1);
    const auto write = [&](CountersText *rows) { return rows->write(0, values, false); };
    JsonText expected(JsonLayout::compact);
    CountersText unharmed(*schema, expected);
    ASSERT_TRUE(write(&unharmed));
    for (int failing = 0, failures = 1; failures > 0; ++failing) {
        JsonText text(JsonLayout::compact);
        CountersText rows(*schema, text);
        allocations_left = failing;
        failures = write(&rows) ? 0 : 1;
        allocations_left = -1;
        if (failures > 0) {
            EXPECT_EQ(text.view(), "");
            EXPECT_TRUE(write(&rows));
        }
        EXPECT_EQ(text.view(), expected.view()) << failing;
    }
}

}  // namespace
}  // namespace vrn::test
