#include "data/schema/type_system_load.h"

#include "data/schema/schema_text.h"
#include "data/serial/event_json.h"
#include "support/test.h"

namespace vrn::test {
namespace {

class TypeSystemLoad : public testing::Test {
  protected:
    vrn_schema_t *load(const std::string &text, bool *parsed) {
        return vrn_type_system_load_schema_file(ts_.get(), dir_.write("s.json", text).c_str(),
                                                nullptr, parsed);
    }
    std::uint32_t merge(const std::string &text) {
        return vrn_type_system_add_schema_from_json_string(ts_.get(), text.c_str(), &index_);
    }

    const TempDir dir_;
    vrn_type_system_ptr ts_{vrn_type_system_create()};
    std::uint8_t index_ = 99;
    CapturedLog log_;
};

TEST_F(TypeSystemLoad, AppendsALinkedSchemaWithoutDigest) {
    bool parsed = false;
    const vrn_schema_t *schema = load(schema_text(int_type), &parsed);
    ASSERT_NE(schema, nullptr);
    EXPECT_TRUE(parsed);
    EXPECT_EQ(ts_->schemas[0], schema);
    EXPECT_EQ(schema->parent, ts_->builtin_schema);
    EXPECT_NE(schema->types[0]->fields[0]->type, nullptr);
    EXPECT_TRUE(vrn_schema_id_is_zero(&schema->md5_digest));

    EXPECT_EQ(load(counters_text, &parsed), nullptr);
    EXPECT_FALSE(parsed);
    EXPECT_EQ(load(schema_text("t 4 a:x@0,4"), &parsed), nullptr);
    EXPECT_FALSE(parsed);
    EXPECT_EQ(ts_->num_schemas, 1);
    EXPECT_EQ(log_.take(), (Lines{"6 Not an event schema",
                                  "3 Definition of type x not found within the schema p",
                                  "3 Failed to adjust type fields within schema p"}));
}

TEST_F(TypeSystemLoad, RefusesTheSchemaBehindTheLast) {
    while (vrn_type_system_add_new_schema(ts_.get(), "p", 0, &index_)) {
    }
    EXPECT_EQ(index_, 254);
    bool parsed = true;
    EXPECT_EQ(load(schema_text(int_type), &parsed), nullptr);
    EXPECT_TRUE(parsed);
    EXPECT_EQ(ts_->num_schemas, 255);
    EXPECT_EQ(log_.take(), Lines{"3 Failed to load schema: schema limit exceeded '255'"});
    EXPECT_EQ(merge(schema_text(int_type)), VRN_TYPE_SYSTEM_FAILED);
    EXPECT_EQ(index_, 254);
    EXPECT_EQ(log_.take(), Lines{});
    EXPECT_EQ(vrn_type_system_remove_last_schema(ts_.get()), 254);
    EXPECT_EQ(ts_->schemas[254], nullptr);
}

TEST_F(TypeSystemLoad, MergesATextOnce) {
    const std::string text = schema_text(int_type);
    const auto merges = [this](const std::string &merged, int index, int num_schemas,
                               const char *last_log) {
        CapturedLog log(7);
        EXPECT_EQ(merge(merged), 0U);
        EXPECT_EQ(index_, index);
        EXPECT_EQ(ts_->num_schemas, num_schemas);
        EXPECT_EQ(log.take().back(), last_log);
    };
    merges(text, 0, 1, "7 FOUND EVENTS SCHEMA");
    merges(text + " ", 1, 2, "7 FOUND EVENTS SCHEMA");
    merges(text, 0, 2, "7 Schema already exists");
    vrn_schema_id_t digest;
    ASSERT_TRUE(vrn_md5_of_string(text.c_str(), &digest));
    EXPECT_EQ(vrn_schema_id_compare(&ts_->schemas[0]->md5_digest, &digest), 0);
    EXPECT_STREQ(ts_->schemas[0]->md5_digest_hex, CString(vrn_schema_id_to_hex(&digest)).get());
    EXPECT_NE(ts_->schemas[0]->types[0]->fields[0]->type, nullptr);
}

TEST_F(TypeSystemLoad, MergesCountersSchemasOverTheOldOne) {
    const std::string both =
        R"({"version":"1.5.0","counter_groups":[],)" + schema_text(int_type).substr(1);
    for (const std::string &text : {std::string(counters_text), both}) {
        CapturedLog log(7);
        ts_->counters_schema->size = 77;
        index_ = 99;
        EXPECT_EQ(merge(text), 0U);
        EXPECT_EQ(index_, 255);
        EXPECT_EQ(ts_->counters_schema->size, 0U);
        EXPECT_EQ(ts_->num_schemas, 0);
        EXPECT_EQ(log.take().back(), "7 FOUND COUNTERS SCHEMA");
    }
}

TEST_F(TypeSystemLoad, DecodesNothingByMergedSchemasThatCannotBeLinked) {
    // A guid word is read before its type is looked at.
    for (const char *name : {"a", "guid"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(merge(schema_text(std::string("t 4 ") + name + ":int@99999999,4")), 0U);
        const vrn_type_definition_t *type = ts_->schemas[index_]->types[0];
        EXPECT_EQ(type->fields[0]->type, nullptr);
        const char record[16] = {};
        EXPECT_EQ(vrn_event_to_json(type, record), nullptr);
        EXPECT_EQ(log_.take().back(),
                  std::string("3 Field 't.") + name +
                      "' of schema 'p' does not lie within the 4 bytes of its type");
    }
    EXPECT_EQ(ts_->num_schemas, 2);
}

TEST_F(TypeSystemLoad, RefusesTextsOfNeitherKind) {
    for (const char *text : {"nonsense", "{}"}) EXPECT_EQ(merge(text), VRN_TYPE_SYSTEM_FAILED);
    const Lines log = log_.take();
    EXPECT_EQ(log.at(0), "3 Failed to read schemas as JSON");
    EXPECT_EQ(log.at(1), "6 Not an event schema");
    EXPECT_EQ(log.back(), "3 Failed to convert schema from JSON to internal memory representation");
    EXPECT_EQ(index_, 99);
}

}  // namespace
}  // namespace vrn::test
