#include "data/schema/type_layout.h"

#include <gtest/gtest.h>

#include "data/json_template.h"
#include "data/schema/schema_json.h"
#include "data/schema/schema_text.h"
#include "support/captured_log.h"

namespace vrn::test {
namespace {

using Log = std::vector<std::string>;

std::string array(int length) {
    return R"(,"array_length":)" + std::to_string(length);
}

class TypeLayout : public testing::Test {
  protected:
    TypeLayout() { EXPECT_TRUE(vrn_schema_add_builtin_types(builtin_.get())); }

    vrn_schema_ptr read(const std::vector<std::string> &types) {
        const vrn_json_value_ptr value(json_parse_string(schema_text(types).c_str()));
        vrn_schema_ptr schema(vrn_schema_from_json(value.get()));
        EXPECT_NE(schema, nullptr);
        schema->parent = builtin_.get();
        return schema;
    }

    vrn_schema_ptr builtin_{vrn_schema_create("<built-in>", 0)};
    CapturedLog log_;
};

// Types t0 to t<count - 1>, each holding the next one, the last one an int.
std::vector<std::string> chain(int count, const std::string &more = "") {
    std::vector<std::string> types;
    for (int i = 0; i + 1 < count; ++i)
        types.push_back(type_text("t" + std::to_string(i), "4",
                                  {field_text("f", "t" + std::to_string(i + 1), "0", "0", more)}));
    types.push_back(int_type_text("t" + std::to_string(count - 1)));
    return types;
}

TEST_F(TypeLayout, LinksTypesThatLieWithinTheirRecords) {
    struct Case {
        const char *name;
        std::vector<std::string> types;
    };
    const Case cases[] = {
        {"no types", {}},
        {"scalar to the last byte", {type_text("t", "8", {field_text("a", "int", "4", "4")})}},
        {"gap and overlap",
         {type_text("t", "99",
                    {field_text("a", "int", "90", "4"), field_text("b", "double", "90", "8")})}},
        {"array to the last byte",
         {type_text("t", "12", {field_text("a", "int", "0", "4", array(3))})}},
        {"elements on one place",
         {type_text("t", "4", {field_text("a", "int", "0", "0", array(65535))})}},
        {"text ignores the element size",
         {type_text("t", "9", {field_text("a", "char", "1", "99999", array(8))})}},
        {"later type", chain(2)},
        {"deepest nesting", chain(64)},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const vrn_schema_ptr schema = read(c.types);
        EXPECT_TRUE(vrn_schema_link_types(schema.get()));
        for (std::size_t i = 0; i < schema->num_types; ++i)
            EXPECT_NE(schema->types[i]->fields[0]->type, nullptr) << i;
        EXPECT_EQ(log_.take(), Log{});
    }
}

TEST_F(TypeLayout, RefusesTypesThatCannotBeDecodedSafely) {
    const auto outside = [](const std::string &size) {
        return "3 Field 't.a' of schema 'p' does not lie within the " + size + " bytes of its type";
    };
    const std::vector<std::string> same_place(3, field_text("a", "double", "0", "0", array(65535)));
    std::vector<std::string> ring = chain(3);
    ring.back() = type_text("t2", "4", {field_text("f", "t0", "0", "4")});
    struct Case {
        const char *name;
        std::vector<std::string> types;
        std::string log;
    };
    const Case cases[] = {
        {"unknown type",
         {type_text("t", "8", {field_text("a", "none", "4", "4")})},
         "3 Definition of type none not found within the schema p"},
        {"one byte too far",
         {type_text("t", "8", {field_text("a", "int", "5", "4")})},
         outside("8")},
        {"declared smaller than it is",
         {type_text("t", "3", {field_text("a", "int", "0", "1")})},
         outside("3")},
        {"offset near 2^64",
         {type_text("t", "8", {field_text("a", "int", "18446744073709549568", "4")})},
         outside("8")},
        {"stride that wraps around",
         {type_text("t", "8", {field_text("a", "int", "0", "9223372036854775808", array(3))})},
         outside("8")},
        {"array one element too long",
         {type_text("t", "11", {field_text("a", "int", "0", "4", array(3))})},
         outside("11")},
        {"text one byte too long",
         {type_text("t", "8", {field_text("a", "unsigned char", "1", "0", array(8))})},
         outside("8")},
        {"composite too large",
         {int_type_text("in"), type_text("t", "7", {field_text("a", "in", "0", "2", array(3))})},
         outside("7")},
        {"contains itself",
         {type_text("t", "4", {field_text("a", "t", "0", "4")})},
         "3 Type 't' of schema 'p' contains itself"},
        {"hides what it is made of",
         {type_text("int", "4", {field_text("a", "int", "0", "4")})},
         "3 Type 'int' of schema 'p' contains itself"},
        {"contains itself through others", ring, "3 Type 't0' of schema 'p' contains itself"},
        {"nested too deep", chain(65), "3 Type 't0' of schema 'p' is nested deeper than 64 levels"},
        {"too many values",
         {type_text("t", "8", same_place)},
         "3 Type 't' of schema 'p' expands to more than 65544 values"},
        {"values that multiply", chain(20, array(4)),
         "3 Type 't10' of schema 'p' expands to more than 65540 values"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const vrn_schema_ptr schema = read(c.types);
        EXPECT_FALSE(vrn_schema_link_types(schema.get()));
        EXPECT_EQ(log_.take(), Log{c.log});
        EXPECT_EQ(schema->types[schema->num_types - 1]->fields[0]->type, nullptr);
    }
}

TEST_F(TypeLayout, LeavesTypesFromTheFirstBadOneUnbound) {
    const vrn_schema_ptr schema =
        read({int_type_text("good"),
              type_text("bad", "4",
                        {field_text("a", "int", "0", "4"), field_text("b", "int", "1", "4")}),
              int_type_text("behind")});
    EXPECT_FALSE(vrn_schema_link_types(schema.get()));
    EXPECT_NE(schema->types[0]->fields[0]->type, nullptr);
    EXPECT_EQ(schema->types[1]->fields[0]->type, nullptr);
    EXPECT_EQ(schema->types[1]->fields[1]->type, nullptr);
    EXPECT_EQ(schema->types[2]->fields[0]->type, nullptr);
    EXPECT_EQ(log_.take(),
              Log{"3 Field 'bad.b' of schema 'p' does not lie within the 4 bytes of its type"});
}

// Each type holds the next one twice: walked as a tree, this would not end, and counted without
// saturation, 2^64 values would be none.
TEST_F(TypeLayout, MeasuresEachTypeOnce) {
    std::vector<std::string> types;
    for (int i = 0; i < 63; ++i) {
        const std::string next = "t" + std::to_string(i + 1);
        types.push_back(
            type_text("t" + std::to_string(i), "1e19",
                      {field_text("a", next, "0", "0"), field_text("b", next, "0", "0")}));
    }
    types.push_back(type_text("t63", "1e19", {field_text("a", "int", "0", "4", array(2))}));
    const vrn_schema_ptr schema = read(types);
    EXPECT_FALSE(vrn_schema_link_types(schema.get()));
    EXPECT_EQ(log_.take(), Log{"3 Type 't0' of schema 'p' expands to more than "
                               "10000000000000065536 values"});
}

}  // namespace
}  // namespace vrn::test
