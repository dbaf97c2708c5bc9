#include "data/schema/type_layout.h"

#include "data/schema/schema_json.h"
#include "data/schema/schema_text.h"
#include "data/text/json_value.h"
#include "support/test.h"

namespace vrn::test {
namespace {

class TypeLayout : public testing::Test {
  protected:
    TypeLayout() { EXPECT_TRUE(vrn_schema_add_builtin_types(builtin_.get())); }

    vrn_schema_ptr read(const std::string &notation) {
        const vrn_json_value_ptr value(json_parse_string(schema_text(notation).c_str()));
        vrn_schema_ptr schema(vrn_schema_from_json(value.get()));
        EXPECT_NE(schema, nullptr);
        schema->parent = builtin_.get();
        return schema;
    }

    vrn_schema_ptr builtin_{vrn_schema_create("<built-in>", 0)};
    CapturedLog log_;
};

// Types t0 to t<count - 1>, each with `fields`, in which % is the next type; `last` ends it.
std::string chain(int count, const std::string &size, const std::string &fields,
                  const std::string &last) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += "t" + std::to_string(i) + " " + size + " ";
        for (const char letter : i + 1 < count ? fields : last)
            text += letter == '%' ? "t" + std::to_string(i + 1) : std::string(1, letter);
        text += ";";
    }
    return text;
}

TEST_F(TypeLayout, LinksTypesThatLieWithinTheirRecords) {
    for (const std::string &notation :
         {std::string("t 8 a:long@0,0x380 b:long@0,0x4"), std::string("t 8 a:int@4,4"),
          std::string("t 12 a:int@0,4x3"),
          std::string("t 4 a:int@0,0x320"),     // all elements in one place
          std::string("t 9 a:char@1,99999x8"),  // a text ignores the size of its elements
          std::string("t 4 a:u@0,4;u 4 a:int@0,4"), chain(254, "4", "f:%@0,0", "f:int@0,4")}) {
        SCOPED_TRACE(notation);
        const vrn_schema_ptr schema = read(notation);
        EXPECT_TRUE(vrn_schema_link_types(schema.get()));
        for (std::size_t i = 0; i < schema->num_types; ++i)
            EXPECT_NE(schema->types[i]->fields[0]->type, nullptr) << i;
        EXPECT_EQ(log_.take(), Lines{});
    }
}

TEST_F(TypeLayout, RefusesTypesThatCannotBeDecodedSafely) {
    const std::string outside = "Field 't.a' of schema 'p' does not lie within the ";
    const std::string itself = "' of schema 'p' contains itself";
    const auto too_many = [](const char *type, const char *limit) {
        return std::string("Type '") + type + "' of schema 'p' expands to more than " + limit +
               " values";
    };
    const std::pair<std::string, std::string> cases[] = {
        {"t 8 a:none@4,4", "Definition of type none not found within the schema p"},
        {"t 3 a:int@0,1", outside + "3 bytes of its type"},
        {"t 8 a:int@18446744073709549568,4", outside + "8 bytes of its type"},
        {"t 8 a:int@0,9223372036854775808x3", outside + "8 bytes of its type"},
        {"t 8 a:char@1,0x8", outside + "8 bytes of its type"},
        {"u 4 a:int@0,4;t 7 a:u@0,2x3", outside + "7 bytes of its type"},
        {"t 4 a:t@0,4", "Type 't" + itself},
        {"int 4 a:int@0,4", "Type 'int" + itself},
        {chain(3, "4", "f:%@0,4", "f:t0@0,4"), "Type 't0" + itself},
        {"t 8 a:long@0,0x380 b:long@0,0x5", too_many("t", "384")},
        {chain(20, "4", "f:%@0,0x4", "f:int@0,4"), too_many("t14", "320")},
        {"u 1 " + std::string(20'000, 'x') + ":bool@0,1;t 65535 a:u@0,1x65535",
         "Type 't' of schema 'p' expands to more than 83885824 bytes of names"},
        {chain(64, "1e18", "a:%@0,0x2", "a:int@0,4x2"), too_many("t0", "16000000000000000256")},
        // Walked as a tree this would not end; without saturation 2^64 values would be none.
        {chain(64, "1e18", "a:%@0,0 b:%@0,0", "a:int@0,4x2"),
         too_many("t0", "16000000000000000256")},
    };
    for (const auto &[notation, line] : cases) {
        SCOPED_TRACE(notation);
        const vrn_schema_ptr schema = read(notation);
        EXPECT_FALSE(vrn_schema_link_types(schema.get()));
        EXPECT_EQ(log_.take(), Lines{"3 " + line});
        EXPECT_EQ(schema->types[schema->num_types - 1]->fields[0]->type, nullptr);
    }
}

TEST_F(TypeLayout, LeavesTypesFromTheFirstBadOneUnbound) {
    const vrn_schema_ptr schema =
        read("good 4 a:int@0,4;t 4 b:int@0,4 a:int@1,4;behind 4 a:int@0,4");
    EXPECT_FALSE(vrn_schema_link_types(schema.get()));
    EXPECT_NE(schema->types[0]->fields[0]->type, nullptr);
    for (const int bad : {1, 2}) EXPECT_EQ(schema->types[bad]->fields[0]->type, nullptr);
}

}  // namespace
}  // namespace vrn::test
