#include "counters/counters_schema.h"

#include "counters/counter_fixtures.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using Numbers = std::vector<std::uint32_t>;

Numbers offsets_of(const vrn_counters_schema_t *schema) {
    Numbers offsets;
    for (std::uint32_t i = 0; i < schema->num_groups; ++i)
        for (std::uint32_t j = 0; j < schema->groups[i]->num_counters; ++j)
            offsets.push_back(schema->groups[i]->counters[j]->offset);
    return offsets;
}

TEST(CountersSchema, LaysCountersOutBackToBack) {
    // clang-format off
    const struct {
        const char *name; std::vector<vrn_counter_info_t> counters; Numbers offsets;
        std::uint32_t size; Lines log;
    } cases[] = {
        {"all types", {make_counter("a", 1), make_counter("b", 2), make_counter("c", 3),
          make_counter("d", 4), make_counter("e", 5, 0, 3), make_counter("f", 6, 0, 99),
          make_counter("g", 7), make_counter("h", 0), make_counter("i", 0xFFFFFFFF)},
         {0, 8, 16, 24, 32, 35, 51, 67, 75}, 83, {}},
        {"plain lengths count in offsets alone",
         {make_counter("a", 1, 0, 4), make_counter("b", 1, 0, 4)}, {0, 4}, 16, {}},
        {"an empty string stops it",
         {make_counter("a", 1), make_counter("s", 5), make_counter("b", 1)}, {0, 7, 7}, 16,
         {"3 [vrn_counters_schema_update_counter_offsets] Fail: received 0 length string counter "
          "s"}},
        {"offsets are 32 bits wide",
         {make_counter("a", 1, 0, 0xFFFFFFFF), make_counter("b", 1), make_counter("c", 1)},
         {0, 0xFFFFFFFF, 7}, 24, {}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        const vrn_counters_schema_ptr schema(vrn_counters_schema_create());
        std::vector<vrn_counter_info_t> counters = c.counters;
        for (vrn_counter_info_t &counter : counters) counter.offset = 7;
        ASSERT_TRUE(vrn_counters_schema_add_counters(schema.get(), counters.data(), counters.size(),
                                                     "group"));
        EXPECT_EQ(offsets_of(schema.get()), Numbers(counters.size(), 7));
        EXPECT_EQ(schema->size, c.size);
        vrn_counters_schema_update_counter_offsets(schema.get());
        EXPECT_EQ(offsets_of(schema.get()), c.offsets);
        EXPECT_EQ(log.take(), c.log);
    }
}

TEST(CountersSchema, AddsToItsFirstGroup) {
    const vrn_counters_schema_ptr owner(vrn_counters_schema_create());
    vrn_counters_schema_t *schema = owner.get();
    const vrn_counter_info_t counter = make_counter("a", 1);
    EXPECT_FALSE(vrn_counters_schema_add_counters(nullptr, &counter, 1, "g"));
    EXPECT_FALSE(vrn_counters_schema_add_counters(schema, nullptr, 1, "g"));
    EXPECT_FALSE(vrn_counters_schema_add_counters(schema, &counter, 0, "g"));
    EXPECT_FALSE(vrn_counters_schema_add_counters(schema, &counter, 1, ""));
    EXPECT_FALSE(vrn_counters_schema_add_counters(schema, &counter, 1, nullptr));
    EXPECT_EQ(schema->num_groups, 0U);

    EXPECT_TRUE(vrn_counters_schema_add_counters(schema, &counter, 1, "g"));
    EXPECT_TRUE(vrn_counters_schema_add_group(schema, vrn_counter_group_create("second", nullptr)));
    EXPECT_TRUE(vrn_counters_schema_add_counters(schema, &counter, 1, "other"));
    ASSERT_EQ(schema->num_groups, 2U);
    EXPECT_STREQ(schema->groups[0]->name, "g");
    EXPECT_EQ(schema->groups[0]->num_counters, 2U);
    EXPECT_EQ(schema->groups[1]->num_counters, 0U);
}

TEST(CountersSchema, CountsAndFindsCounters) {
    const auto schema = parse_schema(
        schema_json(counter_json("a", "UINT64") + "," + counter_json("b", "FP64"), "1"));
    ASSERT_NE(schema, nullptr);
    EXPECT_EQ(vrn_counters_schema_find_counter(schema.get(), "b"), schema->groups[0]->counters[1]);
    EXPECT_EQ(vrn_counters_schema_find_counter(schema.get(), "c"), nullptr);
    EXPECT_EQ(vrn_counters_schema_number_of_counters(schema.get()), 2U);
    schema->groups[0]->num_counter_sets = 3;
    vrn_counter_group_t *other = vrn_counter_group_create("of one set", nullptr);
    EXPECT_TRUE(vrn_counters_schema_add_group(schema.get(), other));
    EXPECT_TRUE(vrn_counter_group_add_counter(other, schema->groups[0]->counters[0]));
    CapturedLog log;
    EXPECT_EQ(vrn_counters_schema_number_of_counters(schema.get()), 0U);
    EXPECT_EQ(vrn_counters_schema_number_of_values(schema.get()), 7U);
    EXPECT_EQ(log.take(), Lines{"3 [vrn_counters_schema_number_of_counters] num_counter_sets "
                                "should be 1, not 3"});
}

}  // namespace
}  // namespace vrn::test
