#include "counters/counters_json_writer.h"

#include <new>
#include <vector>

#include "counters/counter_fixtures.h"
#include "support/failing_allocation.h"
#include "support/test.h"

namespace vrn::test {
namespace {

// Comparison with the tree is a matter of json_difference_test.cc.
TEST(CountersJsonWriter, WritesAllOfARowOrNothing) {
    const auto schema = parse_schema(schema_json(
        counter_json("a_long_name_of_a_counter", "UINT64") + "," + counter_json("b", "INT64"),
        "1"));
    ASSERT_NE(schema, nullptr);
    const std::vector<std::uint8_t> values(16, 1);
    std::string name = "b", key = "k", value = "v";
    vrn_metadata_label_t label = {key.data(), value.data()};
    vrn_metadata_entry_t entry = {name.data(), name.data(), &label, 1};
    const vrn_metadata_t metadata = {&entry, 1};
    for (const vrn_metadata_t *used : {static_cast<const vrn_metadata_t *>(nullptr), &metadata})
        expect_all_or_nothing([&]() -> std::string {
            JsonText text(JsonLayout::compact);
            start_shortage();
            try {
                static_cast<void>(CountersJsonWriter(*schema, used, text).write(0, values, false));
            } catch (const std::bad_alloc &) {
                EXPECT_EQ(text.view(), "");
            }
            end_shortage();
            return std::string(text.view());
        });
}

// A few bytes of labels for each of many counter sets.
TEST(CountersJsonWriter, RefusesMetadataThatMakeRowsEndless) {
    const auto schema = parse_schema(
        schema_json(counter_json("a", "UINT64") + "," + counter_json("b", "UINT64"), "65536"));
    ASSERT_NE(schema, nullptr);
    std::string name = "b", key = "k", value(4094, 'v');
    vrn_metadata_label_t label = {key.data(), value.data()};
    vrn_metadata_entry_t entry = {name.data(), name.data(), &label, 1};
    const vrn_metadata_t metadata = {&entry, 1};
    for (const bool is_short : {true, false}) {
        if (!is_short) value += "vv";
        label.value = value.data();
        CapturedLog log;
        JsonText text(JsonLayout::compact);
        EXPECT_EQ(CountersJsonWriter(*schema, &metadata, text).write(0, {}, false), is_short);
        EXPECT_EQ(text.view().empty(), !is_short);
        EXPECT_EQ(log.take(),
                  is_short ? Lines{}
                           : Lines{"3 Metadata labels take more than 268435456 bytes of each row"});
    }
}

}  // namespace
}  // namespace vrn::test
