#include "data/schema/type_system_json.h"

#include "data/schema/schema_text.h"
#include "data/text/json_value.h"
#include "support/test.h"
#include "utils/name_table.h"

namespace vrn::test {
namespace {

class TypeSystemJson : public testing::Test {
  protected:
    CapturedLog log_;
};

vrn_type_system_ptr read(const std::string &text) {
    return vrn_type_system_ptr(vrn_type_system_from_string(text.c_str()));
}

std::string system_text(const std::string &more, const std::string &version = "1.5.0") {
    return R"({"version":")" + version + "\"" + more + "}";
}

std::string schemas_text(const std::vector<std::string> &schemas) {
    return R"(,"schemas":[)" + join(schemas) + "]";
}

TEST_F(TypeSystemJson, WritesWhatItReads) {
    const std::string written =
        R"({"name":"Varnel type system","version":"1.5.0","counters_schema":{"title":)"
        R"("Varnel performance counters collector","version":"1.5.0","counter_groups":[]},)"
        R"("schemas":[{"title":"Varnel schema","vrn_version":"1.5.0","provider_name":"p",)"
        R"("provider_version":"1.2.3","types":[{"name":"t","size":4,"fields":[{"field_name":"a",)"
        R"("description":"d","type_name":"int","counting_mode":"ABSOLUTE","offset":0,)"
        R"("type_size":4,"index":0}],"type_index":0}]}]})";
    const vrn_type_system_ptr ts = read(written);
    ASSERT_NE(ts, nullptr);
    EXPECT_NE(ts->schemas[0]->types[0]->fields[0]->type, nullptr);
    EXPECT_FALSE(vrn_schema_id_is_zero(&ts->schemas[0]->md5_digest));
    EXPECT_STREQ(ts->schemas[0]->md5_digest_hex, "");

    ASSERT_TRUE(vrn_type_system_add_new_schema(ts.get(), "empty", 0, nullptr));
    std::swap(ts->schemas[0], ts->schemas[1]);
    EXPECT_STREQ(vrn_json_text_ptr(vrn_type_system_to_string(ts.get(), false)).get(),
                 written.c_str());
    vrn_counters_schema_destroy(ts->counters_schema);
    ts->counters_schema = nullptr;
    ts->num_schemas = 0;  // the system still destroys all its places
    EXPECT_STREQ(vrn_json_text_ptr(vrn_type_system_to_string(ts.get(), true)).get(),
                 "{\n    \"name\": \"Varnel type system\",\n    \"version\": \"1.5.0\",\n"
                 "    \"schemas\": []\n}");
    EXPECT_EQ(log_.take(), Lines{});
}

TEST_F(TypeSystemJson, ReadsDocumentsOfEveryForm) {
    const auto reads = [this](const char *name, const std::string &text, int num_schemas,
                              bool counters, const Lines &log) {
        SCOPED_TRACE(name);
        const vrn_type_system_ptr ts = read(text);
        ASSERT_NE(ts, nullptr);
        EXPECT_EQ(ts->num_schemas, num_schemas);
        EXPECT_EQ(ts->counters_schema != nullptr, counters);
        EXPECT_EQ(log_.take(), log);
    };
    const std::string schema = schema_text(int_type);
    const std::string counters = R"(,"counters_schema":)" + std::string(counters_text);
    reads("schemas only", system_text(schemas_text({schema})), 1, false, {});
    reads("counters only", system_text(counters), 0, true, {});
    reads("bare counters schema", counters_text, 0, true, {});
    reads("too many", system_text(schemas_text(std::vector(256, schema))), 255, false,
          {"3 [ts] Failed to deserialize: number of schemas 256 exceeds limit 255"});
    const std::string none = schemas_text({});
    const std::string old =
        "3 [ts] Failed to deserialize: schema version 1.4.0 is incompatible with the deserializer, "
        "the minimal supported schema version is 1.4.0";
    reads("no schemas", system_text(none), 0, false, {});
    reads("older", system_text(none, "1.3.9"), 0, false, {old});
    reads("no version", system_text(none, "x"), 0, false, {old});
    reads("newer", system_text(none, "2.0.0"), 0, false, {});
}

TEST_F(TypeSystemJson, RefusesBadDocuments) {
    const std::string failed = "[ts] Failed to deserialize: ";
    const std::pair<std::string, std::string> cases[] = {
        {"{", "Failed parsing schema JSON string"},
        {"[]", failed + "schema is not a JSON object"},
        {schema_text(int_type), failed + "missing Varnel schema version"},
        {system_text(""),
         "[schema writer] schema was not recognized as either type system or counters schema"},
        {system_text(R"(,"counters_schema":null,"schemas":[])"),
         failed + "unable to decode counters schema"},
        {system_text(R"(,"counter_groups":[1])"),
         failed + "unable to decode JSON as counters schema"},
        {system_text(schemas_text({schema_text("t 4")})), failed + "unable to decode type schema"},
        {system_text(schemas_text({schema_text("t 4 a:x@0,4")})),
         failed + "unable to adjust type fields of schema p"},
    };
    for (const auto &[text, last_line] : cases) {
        SCOPED_TRACE(text);
        EXPECT_EQ(read(text), nullptr);
        EXPECT_EQ(log_.take().back(), "3 " + last_line);
    }
}

TEST_F(TypeSystemJson, WritesNothingWithoutTheCountersSchema) {
    const vrn_type_system_ptr ts(vrn_type_system_create());
    char text[] = "c";
    vrn_counter_info_t counter{};
    counter.name = counter.description = counter.units = text;
    counter.data_type = VRN_NAME_UNKNOWN;
    ASSERT_TRUE(vrn_counters_schema_add_counters(ts->counters_schema, &counter, 1, "g"));
    EXPECT_EQ(vrn_type_system_to_string(ts.get(), true), nullptr);
    EXPECT_EQ(log_.take().back(), "3 [ts] failed to serialize counters schema");
}

}  // namespace
}  // namespace vrn::test
