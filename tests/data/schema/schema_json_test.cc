#include "data/schema/schema_json.h"

#include "data/schema/schema_registration.h"
#include "data/schema/schema_text.h"
#include "data/schema/type_json.h"
#include "data/text/json_value.h"
#include "support/test.h"
#include "utils/name_table.h"

namespace vrn::test {
namespace {

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

// A field's document with `more` in place of its counting mode.
std::string field_with(const std::string &more) {
    return R"({"field_name":"f","description":"","type_name":"int","offset":1,"type_size":2,)" +
           more + "}";
}

// A schema with a field of each kind: array, scalar, composite, indexed.
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

constexpr char written_schema[] =
    R"({"title":"Varnel schema","vrn_version":"1.5.0","provider_name":"p","provider_version":)"
    R"("1.2.3","types":[{"name":"inner","size":4,"fields":[{"field_name":"x","description":"X",)"
    R"("type_name":"char","counting_mode":"DELTA","array_length":4,"offset":0,"type_size":1,)"
    R"("index":0}],"type_index":0},{"name":"outer","size":12,"fields":[{"field_name":"id",)"
    R"("description":"an id","type_name":"uint64_t","counting_mode":"ABSOLUTE","offset":0,)"
    R"("type_size":8,"index":0},{"field_name":"in","description":"","type_name":"inner",)"
    R"("counting_mode":"RUNNING_SUM","offset":8,"type_size":4,"index":1}],"type_index":1}]})";
// Of the same document, pretty-printed with four spaces.
constexpr char schema_hex[] = "5c5118e9ea53fe236adbd94d35b825d1";

class SchemaJson : public testing::Test {
  protected:
    SchemaJson() { EXPECT_TRUE(vrn_schema_add_builtin_types(builtin_.get())); }

    vrn_schema_ptr builtin_{vrn_schema_create("<built-in>", 0)};
    CapturedLog log_;
};

TEST_F(SchemaJson, WritesAllKeysInOrderAndHashesTheirPrettyText) {
    const vrn_schema_ptr schema = make_schema(builtin_.get());
    EXPECT_EQ(text_of(vrn_schema_to_json(schema.get())), written_schema);
    const TempDir dir;
    const vrn_schema_ptr read(vrn_schema_load_from_file(
        dir.write("schema.json", written_schema).c_str(), builtin_.get()));
    ASSERT_NE(read, nullptr);
    EXPECT_STREQ(read->md5_digest_hex, schema_hex);
    EXPECT_EQ(read->types[1]->fields[1]->type, read->types[0]);
    const vrn_json_text_ptr type(vrn_schema_type_to_string(read.get(), "int", false));
    EXPECT_STREQ(type.get(), R"({"name":"int","size":4,"fields":[]})");
    EXPECT_EQ(vrn_schema_type_to_string(read.get(), "none", true), nullptr);
    EXPECT_EQ(log_.take(), Lines{});
}

TEST_F(SchemaJson, RefusesToWriteWhatJsonCannotHold) {
    const vrn_schema_ptr schema = make_schema(builtin_.get());
    schema->types[0]->fields[0]->counting_mode = VRN_NAME_UNKNOWN;
    EXPECT_EQ(text_of(vrn_schema_to_json(schema.get())), "null");
    const vrn_schema_ptr empty(vrn_schema_create("p", 0));
    vrn_schema_id_t digest;
    EXPECT_FALSE(vrn_schema_compute_digest(empty.get(), &digest));
    EXPECT_EQ(log_.take(), Lines{});
}

TEST_F(SchemaJson, ReadsFieldsOfEitherForm) {
    const std::string mode = R"("counting_mode":"RUNNING_SUM")";
    const std::string cases[] = {
        mode,
        R"("counting_mode":"ABSOLUTE_MONOTONIC","index":0)",  // its older name
        mode + R"(,"index":"7")",
        mode + R"(,"array_length":0,"x":[])",
        mode + R"(,"array_length":1.9,"index":0.9)",
    };
    const auto read = [](const std::string &more) {
        return vrn_field_definition_ptr(
            vrn_field_definition_from_json(parse(field_with(more)).get()));
    };
    for (const std::string &more : cases) {
        SCOPED_TRACE(more);
        const vrn_field_definition_ptr field = read(more);
        ASSERT_NE(field, nullptr);
        EXPECT_EQ(text_of(vrn_field_definition_to_json(field.get())),
                  R"({"field_name":"f","description":"","type_name":"int",)" + mode +
                      R"(,"offset":1,"type_size":2,"index":0})");
    }
    EXPECT_EQ(read(R"("counting_mode":"x")")->counting_mode, VRN_NAME_UNKNOWN);
    EXPECT_EQ(log_.take(), Lines{});
}

TEST_F(SchemaJson, AppliesTheVersionRule) {
    for (const char *version : {"1.5.0", "1.0.7", "1.5.9"})
        EXPECT_NE(read_schema(schema_text(int_type, version)), nullptr) << version;
    EXPECT_EQ(log_.take(), Lines{});
    for (const std::string version : {"1.6.0", "2.0.0", "0.0.0", "abc"}) {
        EXPECT_EQ(read_schema(schema_text(int_type, version)), nullptr) << version;
        EXPECT_EQ(log_.take(), Lines{"3 Schema version " + version +
                                     " is incompatible with current version 1.5.0"});
    }
}

TEST_F(SchemaJson, RefusesBadDocuments) {
    EXPECT_EQ(read_schema(R"({"vrn_version":"1.5.0","provider_version":"1.0","types":[]})"),
              nullptr);
    EXPECT_EQ(log_.take(), Lines{"6 Not an event schema"});

    const auto range_error = [](const char *number, const char *key, const char *limit) {
        return Lines{std::string("3 JSON number ") + number + " of '" + key +
                     "' is not within 0 to " + limit};
    };
    const char *const u64_limit = "18446744073709551615";
    std::string many_fields = "u 4";
    for (int i = 0; i < 65536; ++i) many_fields += " 0";
    const std::pair<std::string, Lines> cases[] = {
        {R"(u "4")",
         {R"(3 Type definition JSON does not match schema '{"name" : "", "size" : 0, )"
          R"("fields" : []}')"}},
        {"u 0.9 f:int@0,4", {}},
        {"u -1 f:int@0,4", range_error("-1", "size", u64_limit)},
        {"u 4 {}", {"3 Field definition JSON does not match schema with or without 'index'."}},
        {"u 4 f:int@1e300,4", range_error("1e+300", "offset", u64_limit)},
        {"u 4 f:int@0,4x65536", range_error("65536", "array_length", "65535")},
        {"u 4 " + field_with(R"("counting_mode":"","index":-1)"),
         range_error("-1", "index", "65535")},
        {many_fields, {"3 Type 'u' has too many fields: 65536"}},
    };
    for (const auto &[type, lines] : cases) {
        SCOPED_TRACE(type.substr(0, 80));
        EXPECT_EQ(read_schema(schema_text(int_type + type)), nullptr);
        Lines log = lines;
        log.emplace_back("3 Failed to deserialize type #1 from JSON array");
        EXPECT_EQ(log_.take(), log);
    }

    std::string types;
    for (std::size_t i = 0; i < VRN_MAX_TYPES; ++i) types += int_type;
    EXPECT_NE(read_schema(schema_text(types)), nullptr);
    EXPECT_EQ(read_schema(schema_text(types + int_type)), nullptr);
    EXPECT_EQ(log_.take(), Lines{"3 Schema 'p' has more than 254 types"});
}

TEST_F(SchemaJson, DropsATypeWithoutFieldsForThoseWhoAsk) {
    const std::string text = schema_text(std::string("empty 4;") + int_type);
    const vrn_schema_ptr schema = read_schema(text);
    ASSERT_NE(schema, nullptr);
    EXPECT_EQ(schema->num_types, 1);
    EXPECT_STREQ(schema->types[0]->name, "t");
    EXPECT_EQ(log_.take(), Lines{});

    EXPECT_EQ(vrn_schema_from_json(parse(text).get()), nullptr);
    EXPECT_EQ(log_.take(), Lines{"3 Failed to deserialize type #0 from JSON array"});
}

}  // namespace
}  // namespace vrn::test
