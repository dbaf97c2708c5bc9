#include "data/schema/type_system_json.h"

#include <gtest/gtest.h>

#include "data/json_template.h"
#include "data/schema/schema_text.h"
#include "support/captured_log.h"
#include "utils/name_table.h"

namespace vrn::test {
namespace {

class TypeSystemJson : public testing::Test {
  protected:
    static vrn_type_system_ptr read(const std::string &text) {
        return vrn_type_system_ptr(vrn_type_system_from_string(text.c_str()));
    }

    CapturedLog log_;
};

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

    vrn_type_system_add_new_schema(ts.get(), "empty", 0, nullptr);
    EXPECT_STREQ(vrn_json_text_ptr(vrn_type_system_to_string(ts.get(), false)).get(),
                 written.c_str());
    vrn_counters_schema_destroy(ts->counters_schema);
    ts->counters_schema = nullptr;
    ts->num_schemas = 0;  // the system still destroys all its places
    EXPECT_STREQ(vrn_json_text_ptr(vrn_type_system_to_string(ts.get(), true)).get(),
                 "{\n    \"name\": \"Varnel type system\",\n    \"version\": \"1.5.0\",\n"
                 "    \"schemas\": []\n}");
    EXPECT_EQ(log_.take(), Log{});
}

TEST_F(TypeSystemJson, ReadsDocumentsOfEveryForm) {
    const std::string counters = R"(,"counters_schema":)" + std::string(counters_text);
    const std::string old =
        "3 [ts] Failed to deserialize: schema version 1.4.0 is incompatible with the deserializer, "
        "the minimal supported schema version is 1.4.0";
    struct Case {
        const char *name;
        std::string text;
        int num_schemas;
        bool counters;
        Log log;
    };
    const Case cases[] = {
        {"schemas only", system_text(schemas_text({schema_text(int_type)})), 1, false, {}},
        {"counters only", system_text(counters), 0, true, {}},
        {"bare counters schema", counters_text, 0, true, {}},
        {"no schemas", system_text(schemas_text({})), 0, false, {}},
        {"older version", system_text(schemas_text({}), "1.3.9"), 0, false, {old}},
        {"no version", system_text(schemas_text({}), "x"), 0, false, {old}},
        {"newer version", system_text(schemas_text({}), "2.0.0"), 0, false, {}},
        {"too many schemas",
         system_text(schemas_text(std::vector(256, schema_text(int_type)))),
         255,
         false,
         {"3 [ts] Failed to deserialize: number of schemas 256 exceeds limit 255"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const vrn_type_system_ptr ts = read(c.text);
        ASSERT_NE(ts, nullptr);
        EXPECT_EQ(ts->num_schemas, c.num_schemas);
        EXPECT_EQ(ts->counters_schema != nullptr, c.counters);
        EXPECT_EQ(log_.take(), c.log);
    }
}

TEST_F(TypeSystemJson, RefusesBadDocuments) {
    const std::string prefix = "3 [ts] Failed to deserialize: ";
    struct Case {
        const char *name;
        std::string text;
        std::string last_log;
    };
    const Case cases[] = {
        {"no JSON", "{", "3 Failed parsing schema JSON string"},
        {"no object", "[]", prefix + "schema is not a JSON object"},
        {"schema document", schema_text(int_type), prefix + "missing Varnel schema version"},
        {"version only", system_text(""),
         "3 [schema writer] schema was not recognized as either type system or counters schema"},
        {"bad counters schema", system_text(R"(,"counters_schema":null,"schemas":[])"),
         prefix + "unable to decode counters schema"},
        {"bad bare counters schema", system_text(R"(,"counter_groups":[1])"),
         prefix + "unable to decode JSON as counters schema"},
        {"bad schema", system_text(schemas_text({"7"})), prefix + "unable to decode type schema"},
        {"type without fields", system_text(schemas_text({schema_text("t 4")})),
         prefix + "unable to decode type schema"},
        {"unknown field type", system_text(schemas_text({schema_text("t 4 a:x@0,4")})),
         prefix + "unable to adjust type fields of schema p"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(read(c.text), nullptr);
        const Log log = log_.take();
        ASSERT_FALSE(log.empty());
        EXPECT_EQ(log.back(), c.last_log);
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
