
#include "data/schema/provider_field_set.h"
#include "data/schema/schema_text.h"
#include "data/schema/type_system_load.h"
#include "support/test.h"

namespace vrn::test {
namespace {

// Loads schemas through a field set.
class TypeSystemFilter : public testing::Test {
  protected:
    const vrn_schema_t *load(const std::vector<const char *> &set_lines, const std::string &types) {
        const vrn_provider_field_set_ptr set(vrn_provider_field_set_create());
        EXPECT_TRUE(
            vrn_provider_field_set_init_from_lines(set.get(), set_lines.data(), set_lines.size()));
        const std::string path = dir_.write("s.json", schema_text(types));
        CapturedLog log(7);
        const vrn_schema_t *schema =
            vrn_type_system_load_schema_file(ts_.get(), path.c_str(), set.get(), &parsed_);
        log_ = log.take();
        std::erase_if(log_, [](const std::string &line) { return line.starts_with("7 clearing"); });
        return schema;
    }

    const TempDir dir_;
    const vrn_type_system_ptr ts_{vrn_type_system_create()};
    bool parsed_ = false;
    Lines log_;
};

TEST_F(TypeSystemFilter, KeepsTheLayoutOfWhatStays) {
    const std::string fields = " 8 a:int@0,4 b:int@4,4;";
    const vrn_schema_t *schema =
        load({"[kept]", "^b$", "[none_left]", "zz", "[all]"},
             "other" + fields + "none_left" + fields + "kept" + fields + "all" + fields);
    ASSERT_NE(schema, nullptr);
    EXPECT_TRUE(parsed_);
    ASSERT_EQ(schema->num_types, 2);
    EXPECT_STREQ(schema->types[0]->name, "kept");
    EXPECT_EQ(schema->types[0]->size, 8U);
    ASSERT_EQ(schema->types[0]->num_fields, 1);
    EXPECT_STREQ(schema->types[0]->fields[0]->field_name, "b");
    EXPECT_EQ(schema->types[0]->fields[0]->offset, 4U);
    EXPECT_EQ(schema->types[1]->num_fields, 2);
    const std::string unwanted = " as it is not required by the provided field set";
    const std::string empty = " as it has no fields after filtering by field set";
    EXPECT_EQ(log_, (Lines{"7 Skipping type definition 'other'" + unwanted,
                           "7 Skipping field 'none_left.a'" + unwanted,
                           "7 Skipping field 'none_left.b'" + unwanted,
                           "7 Skipping type definition 'none_left'" + empty,
                           "7 Skipping field 'kept.a'" + unwanted}));
}

TEST_F(TypeSystemFilter, TellsADroppedSchemaFromABadOne) {
    const std::string none = "7 No types found in the schema after filtering by field set";
    struct Case {
        const char *types;
        bool parsed;
        std::string last_log;
    };
    const Case cases[] = {
        {"other 4 a:int@0,4", true, none},
        {"other 0 a:int@0,4", true, none},
        {"", true, none},
        {"t 0 a:int@0,4", false, "3 Failed to deserialize type #0 from JSON array"},
        {"other 4 a:int@0,4;t 4 a:other@0,4", false,
         "3 Failed to adjust type fields within schema p"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.types);
        parsed_ = !c.parsed;
        EXPECT_EQ(load({"[t]"}, c.types), nullptr);
        EXPECT_EQ(parsed_, c.parsed);
        EXPECT_EQ(ts_->num_schemas, 0);
        EXPECT_EQ(log_.back(), c.last_log);
    }
}

}  // namespace
}  // namespace vrn::test
