#include "scan/schema_cache.h"

#include "support/sample_files.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using Schemas = std::shared_ptr<const scan::LoadedSchemas>;

scan::SchemaIds ids_of(const char *events, const char *counters) {
    vrn_schema_id_t ids[2] = {};
    EXPECT_TRUE(vrn_schema_id_from_hex(events, &ids[1]));
    vrn_schema_id_t counters_id{};
    EXPECT_TRUE(vrn_schema_id_from_hex(counters, &counters_id));
    return scan::make_schema_ids(ids, 2, counters_id);  // the zero id is left out
}

std::string id_number(int number) {
    char text[33];
    std::snprintf(text, sizeof text, "%032d", number);
    return text;
}

TEST(SchemaCache, LoadsAListOnce) {
    const TempDir dir;
    write_sample_schemas(dir);
    scan::SchemaCache cache({.folder = dir.file("schema")});
    const scan::SchemaIds both = ids_of(sample_events_id, sample_counters_id);
    const scan::SchemaIds events = ids_of(sample_events_id, id_number(0).c_str());
    const Schemas first = cache.get(both);
    EXPECT_TRUE(first->is_whole && first->is_quiet && first->has_events() && first->has_counters());
    EXPECT_EQ(first->ids.num_events, 1U);
    const Schemas second = cache.get(events);
    EXPECT_FALSE(second->has_counters());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(cache.get(both), first);
        EXPECT_EQ(cache.get(events), second);
    }
}

TEST(SchemaCache, LetsTheListGoThatWasUsedLeast) {
    const TempDir dir;
    scan::SchemaCache cache({.folder = dir.path()});
    std::vector<scan::SchemaIds> lists;
    for (int i = 1; i <= 18; ++i) {
        dir.write("schema_" + id_number(i) + ".json", sample_event_schema());
        lists.push_back(ids_of(id_number(i).c_str(), id_number(0).c_str()));
    }
    std::vector<Schemas> loads;
    for (std::size_t i = 0; i < scan::SchemaCache::max_kept; ++i)
        loads.push_back(cache.get(lists[i]));
    EXPECT_EQ(cache.get(lists[0]), loads[0]);
    cache.get(lists[16]);
    EXPECT_EQ(cache.get(lists[0]), loads[0]);
    EXPECT_NE(cache.get(lists[1]), loads[1]);
}

TEST(SchemaCache, LoadsAnewWhatFailsOrTellsSomething) {
    const TempDir dir;
    write_sample_schemas(dir);
    scan::SchemaCache cache({.folder = dir.file("schema")});
    const CapturedLog log;

    const scan::SchemaIds missing = ids_of(sample_events_id, id_number(7).c_str());
    const Schemas partial = cache.get(missing);
    EXPECT_FALSE(partial->is_whole);
    EXPECT_TRUE(partial->has_events());
    ASSERT_EQ(partial->messages.size(), 2U);
    EXPECT_EQ(partial->messages[1].text, "Failed to load counters schema from file: " +
                                             dir.file("schema/schema_" + id_number(7) + ".json"));
    EXPECT_NE(cache.get(missing), partial);

    // Its end tells of the provider that is missing.
    std::string nameless = sample_counters_schema();
    nameless.replace(nameless.find("\"provider\""), 10, "\"no-name\"");
    dir.write("schema/schema_" + id_number(8) + ".json", nameless);
    const scan::SchemaIds odd = ids_of(sample_events_id, id_number(8).c_str());
    const Schemas loud = cache.get(odd);
    EXPECT_TRUE(loud->is_whole && loud->messages.empty());
    EXPECT_FALSE(loud->is_quiet);
    EXPECT_NE(cache.get(odd), loud);
}

}  // namespace
}  // namespace vrn::test
