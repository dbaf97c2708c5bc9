

#include "counters/counter_fixtures.h"
#include "support/test.h"

namespace vrn::test {
namespace {

constexpr char document[] = R"({
    "title": "Varnel performance counters collector",
    "version": "1.5.0",
    "counter_groups": [
        {
            "granularity": "PACKAGE",
            "name": "power",
            "provider": "rapl",
            "num_counter_sets": 2,
            "num_counters": 1,
            "counters": [
                {
                    "name": "label",
                    "description": "Name of the package",
                    "units": "",
                    "data_type": "STRING",
                    "length": 12,
                    "offset": 0,
                    "hidden": 1,
                    "mandatory": 1,
                    "counting_type": "ABSOLUTE",
                    "string_format": "UUID",
                    "index": 255
                }
            ]
        },
        {
            "granularity": "unknown",
            "num_counter_sets": 0,
            "num_counters": 0,
            "counters": []
        }
    ]
})";

TEST(CountersSchemaJson, ReadsWhatItWrites) {
    CapturedLog log(3);
    const auto schema = parse_schema(document);
    ASSERT_NE(schema, nullptr);
    EXPECT_EQ(schema->size, 12U);
    EXPECT_EQ(captured_stream(
                  [&](std::FILE *stream) { vrn_counters_schema_print(schema.get(), stream); }),
              std::string(document) + "\n");
    EXPECT_EQ(log.take(), Lines{});
}

TEST(CountersSchemaJson, FillsOptionalKeys) {
    const auto schema = parse_schema(
        schema_json(counter_json("a", "new type", R"(, "hidden": -0.5, "mandatory": 2, "index": 258,
                                         "string_format": "new format", "offset": 99)") +
                        "," + counter_json("b", "UINT64", R"(, "length": 3.9, "string_format": 2)"),
                    "42949.9", "new granularity"));
    ASSERT_NE(schema, nullptr);
    const vrn_counter_group_t &group = *schema->groups[0];
    const vrn_counter_info_t &a = *group.counters[0], &b = *group.counters[1];
    EXPECT_EQ((std::vector<std::uint32_t>{group.granularity, group.num_counter_sets, a.data_type,
                                          a.string_format, a.hidden, a.mandatory, a.index, a.offset,
                                          b.string_format, b.length, b.offset}),
              (std::vector<std::uint32_t>{0xFFFFFFFF, 42949, 0xFFFFFFFF, 0xFFFFFFFF, 1, 1, 2, 0, 0,
                                          3, 8}));
}

TEST(CountersSchemaJson, RefusesOtherDocuments) {
    const std::string mismatch = "3 JSON does not match schema '";
    const std::string undecoded = "3 Failed to decode counter group from JSON";
    const auto range_error = [&](const std::string &number, const std::string &key) {
        return Lines{"3 JSON number " + number + " of '" + key + "' is not within 0 to 4294967295",
                     undecoded};
    };
    const auto with = [](const std::string &more) {
        return schema_json(counter_json("a", "STRING", more), "1");
    };
    const std::pair<std::string, Lines> cases[] = {
        {"{", {"3 Failed parsing counters schema JSON from string"}},
        {R"({"version": 1, "counter_groups": []})",
         {mismatch + R"({"version" : "", "counter_groups" : []}')"}},
        {schema_json("", R"("1")"),
         {mismatch + R"({"granularity" : "", "num_counters" : 0, "num_counter_sets" : 0, )"
                     R"("counters" : []}')",
          undecoded}},
        {schema_json("null", "1"), {undecoded}},
        {schema_json("", "1e300"), range_error("1e+300", "num_counter_sets")},
        {with(R"(, "length": 4294967296)"), range_error("4.29497e+09", "length")},
        {with(R"(, "index": -1)"), range_error("-1", "index")},
        {with(R"(, "offset": -1)"), range_error("-1", "offset")},
    };
    for (const auto &[json, lines] : cases) {
        SCOPED_TRACE(json);
        CapturedLog log(3);
        EXPECT_EQ(parse_schema(json), nullptr);
        EXPECT_EQ(log.take(), lines);
    }
}

TEST(CountersSchemaJson, RefusesClaimsOfEndlessOutput) {
    const auto repeated = [](const std::string &item, int count) {
        std::string list = item;
        for (int i = 1; i < count; ++i) list += "," + item;
        return list;
    };
    const auto string_of = [](const std::string &length) {
        return counter_json("s", "STRING", R"(, "length": )" + length);
    };
    const std::string value = counter_json("a", "UINT64");
    const std::string half = string_of("134217728");
    const std::string empty_group =
        R"({"granularity": "CPU", "num_counters": 0, "num_counter_sets": 65536, "counters": []})";
    const Lines too_many_values = {"3 Counter sets expand to more than 1048576 values"};
    const Lines too_long = {"3 Counters expand to more than 268435456 bytes of text"};
    const struct {
        const char *name;
        std::string json;
        Lines log = {};
    } cases[] = {
        {"too many sets",
         schema_json("", "65537"),
         {"3 Counter group #0 has 65537 counter sets, more than 65536"}},
        {"most values", schema_json(repeated(value, 16), "65536")},
        {"too many values", schema_json(repeated(value, 17), "65536"), too_many_values},
        {"longest row", schema_json(string_of("268435455"), "1")},
        {"long row", schema_json(half + "," + half, "1"), too_long},
        {"long row of no sets", schema_json(string_of("4294967295"), "0")},
        {"repeated name", schema_json(counter_json(std::string(4097, 'n'), "UINT64"), "65536"),
         too_long},
        {"empty groups",
         R"({"version": "1.5.0", "counter_groups": [)" + repeated(empty_group, 17) + "]}",
         too_many_values},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log(3);
        EXPECT_EQ(parse_schema(c.json) != nullptr, c.log.empty());
        EXPECT_EQ(log.take(), c.log);
    }
}

TEST(CountersSchemaJson, RefusesToWriteIdsWithoutNames) {
    const auto schema = parse_schema(schema_json(counter_json("a", "new type"), "1"));
    ASSERT_NE(schema, nullptr);
    CapturedLog log(3);
    EXPECT_EQ(vrn_counters_schema_to_string(schema.get()), nullptr);
    EXPECT_EQ(log.take(), (Lines{"3 Failed to JSONify counter group #0",
                                 "3 Failed to JSONify counters schemaector schema"}));
}

TEST(CountersSchemaJson, ReadsFilesByPathAndById) {
    const TempDir folder;
    const char *dir = folder.path().c_str();
    const vrn_schema_id_t id = {{0x0a, 0xff}};
    const vrn_schema_id_t zero = {};
    const vrn_schema_id_t other = {{1}};
    const std::string good = folder.write("schema_0aff0000000000000000000000000000.json", document);
    const std::string bad = folder.write("bad.json", "[]");
    CapturedLog log(3);
    EXPECT_TRUE(vrn_counters_schema_ptr(vrn_counters_schema_from_file_all(good.c_str())));
    EXPECT_TRUE(vrn_counters_schema_ptr(vrn_counters_schema_load_by_id(&id, dir)));
    EXPECT_EQ(vrn_counters_schema_load_by_id(nullptr, dir), nullptr);
    EXPECT_EQ(vrn_counters_schema_load_by_id(&zero, dir), nullptr);
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_EQ(vrn_counters_schema_from_file(bad.c_str(), nullptr), nullptr);
    EXPECT_EQ(log.take(),
              (Lines{R"(3 JSON does not match schema '{"version" : "", "counter_groups" : []}')",
                     "3 Failed to parse JSON into counters schema for file '" + bad + "'."}));
    const CapturedLog all(7);
    EXPECT_EQ(vrn_counters_schema_load_by_id(&other, dir), nullptr);
    const std::string path = folder.file("schema_01000000000000000000000000000000.json");
    EXPECT_EQ(log.take(), (Lines{"7 opening counters schema: " + path + "\n",
                                 "3 Failed reading counters schema JSON from file '" + path +
                                     "': No such file or directory",
                                 "7 Failed to load counters schema from file: " + path}));
}

}  // namespace
}  // namespace vrn::test
