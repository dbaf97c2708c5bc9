#include "data/schema/schema_json.h"

#include <gtest/gtest.h>

#include "data/json_template.h"
#include "data/schema/schema_registration.h"
#include "data/schema/schema_text.h"
#include "data/schema/type_json.h"
#include "support/captured_log.h"
#include "support/temp_dir.h"
#include "utils/name_table.h"

namespace vrn::test {
namespace {

using Log = std::vector<std::string>;

std::string text_of(JSON_Value *owned) {
    const vrn_json_value_ptr value(owned);
    if (!value) return "null";
    return vrn_json_text_ptr(json_serialize_to_string(value.get())).get();
}

vrn_json_value_ptr parse(const std::string &text) {
    return vrn_json_value_ptr(json_parse_string(text.c_str()));
}

vrn_schema_ptr read_schema(const std::string &text) {
    bool parsed = false;
    return vrn_schema_ptr(vrn_schema_from_json(parse(text).get(), nullptr, &parsed));
}

// A schema with a type of each kind of field: scalar, array, composite, indexed.
vrn_schema_ptr make_schema(const vrn_schema_t *builtin) {
    vrn_schema_ptr schema(vrn_schema_create("p", 0x00030201));
    schema->parent = builtin;
    const vrn_type_field_info_t inner[] = {{"x", "X", "char", 2, 4}};
    const vrn_type_field_info_t outer[] = {{"id", "an id", "uint64_t", 0, 1},
                                           {"in", "", "inner", 1, 1}};
    const char *const index[] = {"in"};
    EXPECT_EQ(vrn_schema_add_type(schema.get(), "inner", inner, 1, nullptr), 0);
    EXPECT_EQ(vrn_schema_add_type(schema.get(), "outer", outer, 2, nullptr), 0);
    EXPECT_EQ(vrn_schema_set_field_indexes(schema.get(), 1, index, 1), 0);
    return schema;
}

constexpr char pretty_schema[] = R"({
    "title": "Varnel schema",
    "vrn_version": "1.5.0",
    "provider_name": "p",
    "provider_version": "1.2.3",
    "types": [
        {
            "name": "inner",
            "size": 4,
            "fields": [
                {
                    "field_name": "x",
                    "description": "X",
                    "type_name": "char",
                    "counting_mode": "DELTA",
                    "array_length": 4,
                    "offset": 0,
                    "type_size": 1,
                    "index": 0
                }
            ],
            "type_index": 0
        },
        {
            "name": "outer",
            "size": 12,
            "fields": [
                {
                    "field_name": "id",
                    "description": "an id",
                    "type_name": "uint64_t",
                    "counting_mode": "ABSOLUTE",
                    "offset": 0,
                    "type_size": 8,
                    "index": 0
                },
                {
                    "field_name": "in",
                    "description": "",
                    "type_name": "inner",
                    "counting_mode": "RUNNING_SUM",
                    "offset": 8,
                    "type_size": 4,
                    "index": 1
                }
            ],
            "type_index": 1
        }
    ]
})";
// md5sum of the text above
constexpr char schema_hex[] = "5c5118e9ea53fe236adbd94d35b825d1";

class SchemaJson : public testing::Test {
  protected:
    SchemaJson() { EXPECT_TRUE(vrn_schema_add_builtin_types(builtin_.get())); }

    vrn_schema_ptr builtin_{vrn_schema_create("<built-in>", 0)};
    CapturedLog log_;
};

TEST_F(SchemaJson, WritesAllKeysInOrderAndHashesThatText) {
    const vrn_schema_ptr schema = make_schema(builtin_.get());
    const vrn_json_value_ptr value(vrn_schema_to_json(schema.get()));
    EXPECT_STREQ(vrn_json_text_ptr(json_serialize_to_string_pretty(value.get())).get(),
                 pretty_schema);
    vrn_schema_refresh_digest(schema.get());
    EXPECT_STREQ(schema->md5_digest_hex, schema_hex);
}

TEST_F(SchemaJson, ReadsBackWhatItWrites) {
    const TempDir dir;
    const vrn_schema_ptr schema(
        vrn_schema_load_from_file(dir.write("schema.json", pretty_schema).c_str(), builtin_.get()));
    ASSERT_NE(schema, nullptr);
    EXPECT_STREQ(schema->md5_digest_hex, schema_hex);
    EXPECT_EQ(schema->types[1]->fields[1]->type, schema->types[0]);
    const vrn_json_text_ptr type(vrn_schema_type_to_string(schema.get(), "int", false));
    EXPECT_STREQ(type.get(), R"({"name":"int","size":4,"fields":[]})");
    EXPECT_EQ(vrn_schema_type_to_string(schema.get(), "none", true), nullptr);
    EXPECT_EQ(log_.take(), Log{});
}

TEST_F(SchemaJson, RefusesToWriteWhatJsonCannotHold) {
    const vrn_schema_ptr empty(vrn_schema_create("p", 0));
    EXPECT_EQ(text_of(vrn_schema_to_json(empty.get())), "null");
    vrn_schema_id_t digest;
    EXPECT_FALSE(vrn_schema_compute_digest(empty.get(), &digest));

    const vrn_schema_ptr schema = make_schema(builtin_.get());
    schema->types[0]->fields[0]->counting_mode = VRN_NAME_UNKNOWN;
    EXPECT_EQ(text_of(vrn_schema_to_json(schema.get())), "null");
    EXPECT_EQ(log_.take(), Log{});
}

TEST_F(SchemaJson, ReadsFieldsOfEitherForm) {
    struct Case {
        const char *name;
        std::string json;
        const char *written;
    };
    const std::string plain =
        R"("field_name":"f","description":"d","type_name":"int","offset":1,"type_size":2)";
    const std::string start = R"({"field_name":"f","description":"d","type_name":"int",)";
    const std::string absolute =
        start + R"("counting_mode":"ABSOLUTE","offset":1,"type_size":2,"index":0})";
    const Case cases[] = {
        {"no index", "{" + plain + R"(,"counting_mode":"ABSOLUTE"})", absolute.c_str()},
        {"index of another type", "{" + plain + R"(,"counting_mode":"ABSOLUTE","index":"7"})",
         absolute.c_str()},
        {"length 0 is 1, more keys",
         "{" + plain + R"(,"counting_mode":"ABSOLUTE","array_length":0,"x":[]})", absolute.c_str()},
        {"fractions are cut",
         R"({"field_name":"f","description":"d","type_name":"int","counting_mode":"ABSOLUTE",)"
         R"("offset":1.9,"type_size":2.5,"array_length":1.9,"index":0.9})",
         absolute.c_str()},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const vrn_field_definition_ptr field(vrn_field_definition_from_json(parse(c.json).get()));
        ASSERT_NE(field, nullptr);
        EXPECT_EQ(text_of(vrn_field_definition_to_json(field.get())), c.written);
        EXPECT_EQ(log_.take(), Log{});
    }
}

TEST_F(SchemaJson, ReadsTheOldNameOfARunningSumAndUnknownModes) {
    const auto field_of = [](const std::string &mode) {
        return vrn_field_definition_ptr(vrn_field_definition_from_json(
            parse(R"({"field_name":"f","description":"","type_name":"int","offset":0,)"
                  R"("type_size":4,"counting_mode":")" +
                  mode + "\"}")
                .get()));
    };
    EXPECT_EQ(field_of("ABSOLUTE_MONOTONIC")->counting_mode, 1U);
    EXPECT_EQ(field_of("absolute")->counting_mode, VRN_NAME_UNKNOWN);
    EXPECT_EQ(text_of(vrn_field_definition_to_json(field_of("absolute").get())), "null");
}

TEST_F(SchemaJson, AppliesTheVersionRule) {
    for (const char *version : {"1.5.0", "1.0.7", "1.5.9"})
        EXPECT_NE(read_schema(schema_text({int_type_text("t")}, version)), nullptr) << version;
    EXPECT_EQ(log_.take(), Log{});
    for (const std::string version : {"1.6.0", "2.0.0", "0.0.0", "abc"}) {
        EXPECT_EQ(read_schema(schema_text({int_type_text("t")}, version)), nullptr) << version;
        EXPECT_EQ(log_.take(), Log{"3 Schema version " + version +
                                   " is incompatible with current version 1.5.0"});
    }
}

TEST_F(SchemaJson, RefusesBadDocuments) {
    constexpr char bad_field[] =
        "3 Field definition JSON does not match schema with or without 'index'.";
    constexpr char bad_type[] =
        R"(3 Type definition JSON does not match schema '{"name" : "", "size" : 0, "fields" : []}')";
    const auto with_field = [](const std::string &field) {
        return schema_text({int_type_text("t"), type_text("u", "4", {field})});
    };
    const std::string last = "3 Failed to deserialize type #1 from JSON array";
    struct Case {
        const char *name;
        std::string json;
        Log log;
    };
    const Case cases[] = {
        {"not an object", "[]", {"6 Not an event schema"}},
        {"no provider",
         R"({"vrn_version":"1.5.0","provider_version":"1.0","types":[]})",
         {"6 Not an event schema"}},
        {"type without fields key",
         schema_text({int_type_text("t"), R"({"name":"u","size":4})"}),
         {bad_type, last}},
        {"size 0", schema_text({int_type_text("t"), type_text("u", "0.9", {})}), {last}},
        {"negative size",
         schema_text({int_type_text("t"), type_text("u", "-1", {})}),
         {"3 JSON number -1 of 'size' is not within 0 to 18446744073709551615", last}},
        {"field without offset",
         with_field(R"({"field_name":"f","description":"","type_name":"int","type_size":4,)"
                    R"("counting_mode":"DELTA"})"),
         {bad_field, last}},
        {"huge offset",
         with_field(field_text("f", "int", "1e300", "4")),
         {"3 JSON number 1e+300 of 'offset' is not within 0 to 18446744073709551615", last}},
        {"long array",
         with_field(field_text("f", "int", "0", "4", R"(,"array_length":65536)")),
         {"3 JSON number 65536 of 'array_length' is not within 0 to 65535", last}},
        {"negative index",
         with_field(field_text("f", "int", "0", "4", R"(,"index":-1)")),
         {"3 JSON number -1 of 'index' is not within 0 to 65535", last}},
        {"too many fields",
         schema_text(
             {int_type_text("t"), type_text("u", "4", std::vector<std::string>(65536, "0"))}),
         {"3 Type 'u' has too many fields: 65536", last}},
        {"too many types",
         schema_text(std::vector(VRN_MAX_TYPES + 1, int_type_text("t"))),
         {"3 Schema 'p' has more than 254 types"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        bool parsed = true;
        const vrn_schema_ptr schema(vrn_schema_from_json(parse(c.json).get(), nullptr, &parsed));
        EXPECT_EQ(schema, nullptr);
        EXPECT_FALSE(parsed);
        EXPECT_EQ(log_.take(), c.log);
    }
    EXPECT_NE(read_schema(schema_text(std::vector(VRN_MAX_TYPES, int_type_text("t")))), nullptr);
}

TEST_F(SchemaJson, DropsATypeWithoutFieldsForThoseWhoAsk) {
    const vrn_json_value_ptr value =
        parse(schema_text({type_text("empty", "4", {}), int_type_text("t")}));
    CapturedLog log(7);
    bool parsed = false;
    const vrn_schema_ptr schema(vrn_schema_from_json(value.get(), nullptr, &parsed));
    ASSERT_NE(schema, nullptr);
    EXPECT_TRUE(parsed);
    EXPECT_EQ(schema->num_types, 1);
    EXPECT_STREQ(schema->types[0]->name, "t");
    const std::string skipped =
        "7 Skipping type definition 'empty' as it has no fields after filtering by field set";
    EXPECT_EQ(log.take().back(), skipped);

    EXPECT_EQ(vrn_schema_from_json(value.get()), nullptr);
    const Log lines = log.take();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[lines.size() - 2], skipped);
    EXPECT_EQ(lines.back(), "3 Failed to deserialize type #0 from JSON array");
}

TEST_F(SchemaJson, RefusesFilesThatCannotBeReadOrLinked) {
    const TempDir dir;
    const std::string missing = dir.file("none.json");
    EXPECT_EQ(vrn_schema_load_from_file(missing.c_str(), builtin_.get()), nullptr);
    EXPECT_EQ(log_.take(), Log{"3 Failed reading schema JSON from file '" + missing + "'"});
    const std::string unlinked = dir.write("s.json", schema_text({int_type_text("t")}));
    EXPECT_EQ(vrn_schema_load_from_file(unlinked.c_str(), nullptr), nullptr);
    EXPECT_EQ(log_.take(), Log{"3 Definition of type int not found within the schema p"});
}

}  // namespace
}  // namespace vrn::test
