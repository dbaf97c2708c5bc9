#include "data/schema/schema.h"

#include <gmock/gmock.h>

#include "data/schema/schema_registration.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using Fields = std::vector<vrn_type_field_info_t>;

class Schema : public testing::Test {
  protected:
    Schema() {
        EXPECT_TRUE(vrn_schema_add_builtin_types(builtin_.get()));
        schema_->parent = builtin_.get();
    }

    vrn_schema_result_t add(const char *name, const Fields &fields) {
        return vrn_schema_add_type(schema_.get(), name, fields.data(), fields.size(), &index_);
    }

    vrn_schema_ptr builtin_{vrn_schema_create("<built-in>", 0)};
    vrn_schema_ptr schema_{vrn_schema_create("p", 0)};
    std::uint8_t index_ = 99;
    CapturedLog log_;
};

vrn_type_field_info_t info(const char *name, const char *type_name,
                           std::uint16_t array_length = 1) {
    return {name, "text", type_name, 0, array_length};
}

TEST_F(Schema, LooksUpOwnTypesBeforeThoseOfItsParent) {
    EXPECT_EQ(vrn_schema_find_type(schema_.get(), "double")->builtin_id, VRN_BUILTIN_DOUBLE);
    EXPECT_EQ(vrn_schema_type_size(schema_.get(), "timestamp"), 8U);
    EXPECT_EQ(vrn_schema_type_size(schema_.get(), "none"), 0U);

    vrn_type_definition_ptr own(vrn_type_definition_create("double"));
    own->size = 3;
    ASSERT_TRUE(vrn_schema_append_type(schema_.get(), std::move(own)));
    EXPECT_EQ(vrn_schema_type_size(schema_.get(), "double"), 3U);

    schema_->parent = nullptr;
    EXPECT_EQ(vrn_schema_find_type(schema_.get(), "int"), nullptr);
}

TEST_F(Schema, ResolvesUpToTheFirstUnknownType) {
    ASSERT_EQ(add("t", {info("a", "int"), info("b", "int"), info("c", "int")}), VRN_SCHEMA_OK);
    vrn_type_definition_t *type = schema_->types[0];
    for (int i = 0; i < 3; ++i) type->fields[i]->type = nullptr;
    std::strcpy(type->fields[1]->type_name, "inn");  // NOLINT
    EXPECT_FALSE(vrn_schema_resolve_type_fields(schema_.get(), type));
    EXPECT_EQ(log_.take(), Lines{"3 Definition of type inn not found within the schema p"});
    EXPECT_EQ(type->fields[0]->type, builtin_->types[VRN_BUILTIN_INT - 1]);
    EXPECT_EQ(type->fields[1]->type, nullptr);
    EXPECT_EQ(type->fields[2]->type, nullptr);
}

TEST_F(Schema, PacksTheFieldsOfANewType) {
    ASSERT_EQ(add("inner", {info("c", "char", 3), info("none", "int", 0), info("d", "double")}),
              VRN_SCHEMA_OK);
    ASSERT_EQ(add("outer", {info("s", "short"), info("in", "inner", 2)}), VRN_SCHEMA_OK);
    EXPECT_EQ(index_, 1);
    const vrn_type_definition_t &inner = *schema_->types[0], &outer = *schema_->types[1];
    EXPECT_EQ((std::vector<std::uint64_t>{inner.size, inner.fields[1]->offset,
                                          inner.fields[1]->array_length, inner.fields[2]->offset,
                                          outer.size, outer.fields[1]->offset,
                                          outer.fields[1]->type_size}),
              (std::vector<std::uint64_t>{11, 3, 0, 3, 24, 2, 11}));
    EXPECT_EQ(outer.fields[1]->type, &inner);
    EXPECT_EQ(log_.take(), Lines{});
}

TEST_F(Schema, RefusesNewTypes) {
    ASSERT_EQ(add("known", {info("a", "int")}), VRN_SCHEMA_OK);
    const auto refuses = [this](const char *name, const Fields &fields, int result,
                                const std::string &line) {
        SCOPED_TRACE(line);
        index_ = 99;
        EXPECT_EQ(add(name, fields), result);
        EXPECT_EQ(index_, 99);
        EXPECT_EQ(schema_->num_types, 1);
        EXPECT_EQ(log_.take(), Lines{"3 " + line});
    };
    const auto a = info("a", "int");
    refuses("known", {a}, 2, "Schema 'p' already contains type 'known'");
    refuses("int", {a}, 2, "Schema 'p' already contains type 'int'");
    refuses("t", {a, info("b", "t")}, 3,
            "Unable to register type 't': type 't' of the field 'b' is undefined");
    refuses("t", {a, a, info("b", "int")}, 2,
            "[vrn_schema_add_type] Failed to register new type 't': field name 'a' occurs more "
            "than once.");
    refuses("t", Fields(65536, a), 5, "[vrn_schema_add_type] Type 't' has too many fields: 65536");
    // The last field's name may be that of another.
    EXPECT_EQ(add("t", {a, a}), VRN_SCHEMA_OK);
}

TEST_F(Schema, HoldsNoMoreThan254Types) {
    for (std::size_t i = 0; i < VRN_MAX_TYPES; ++i)
        ASSERT_EQ(add(("t" + std::to_string(i)).c_str(), {info("a", "int")}), VRN_SCHEMA_OK);
    EXPECT_EQ(index_, 253);
    EXPECT_EQ(add("more", {info("a", "int")}), 5);
    EXPECT_EQ(log_.take(), Lines{"3 [vrn_schema_add_type] Unable to add new type, reached "
                                 "VRN_MAX_TYPES. schema->num_types = 254"});
}

TEST_F(Schema, NumbersFieldsInTheOrderOfTheNames) {
    const Fields fields = {info("a", "int"), info("b", "int"), info("c", "int")};
    ASSERT_EQ(add("t", fields), VRN_SCHEMA_OK);
    const auto numbers = [this](const std::vector<const char *> &names, const Lines &expected_names,
                                const std::vector<int> &indexes, const Lines &lines) {
        CapturedLog log(7);
        const char *const none = nullptr;
        const char *const *first = names.empty() ? &none : names.data();
        EXPECT_EQ(vrn_schema_set_field_indexes(schema_.get(), 0, first, names.size()), 0);
        EXPECT_EQ(log.take(), lines);
        for (std::size_t i = 0; i < indexes.size(); ++i)
            EXPECT_EQ(schema_->types[0]->fields[i]->index, indexes[i]) << i;
        std::size_t count = 99;
        const CPtr<const char *, std::free> indexed(
            vrn_schema_get_indexed_field_names(schema_.get(), 0, &count));
        ASSERT_NE(indexed, nullptr);
        EXPECT_EQ(Lines(indexed.get(), indexed.get() + count), expected_names);
    };
    numbers({"c", "a"}, {"a", "c"}, {2, 0, 1}, {});
    numbers({"b", "x", "b", "c"}, {"b", "c"}, {0, 2, 3},
            {"7 Mismatch in assigned indices: expected 4, but assigned 3 (t)."});
    numbers({}, {}, {0, 0, 0}, {});
}

TEST_F(Schema, RefusesIndexListsOfWhatIsNotThere) {
    const char *const names[] = {"a"};
    EXPECT_EQ(vrn_schema_set_field_indexes(nullptr, 0, names, 1), 3);
    EXPECT_EQ(vrn_schema_set_field_indexes(schema_.get(), 0, nullptr, 0), 3);
    ASSERT_EQ(add("t", {info("a", "int")}), VRN_SCHEMA_OK);
    EXPECT_EQ(vrn_schema_set_field_indexes(schema_.get(), 1, names, 1), 3);
    EXPECT_EQ(log_.take(),
              (Lines{"3 [vrn_schema_set_field_indexes] Schema pointer is NULL!",
                     "3 [vrn_schema_set_field_indexes] Index names array is NULL!",
                     "3 [vrn_schema_set_field_indexes] Invalid type_index: 1 (out of range, "
                     "max: 0)"}));

    std::size_t count = 99;
    EXPECT_EQ(vrn_schema_get_indexed_field_names(schema_.get(), 0, nullptr), nullptr);
    EXPECT_EQ(vrn_schema_get_indexed_field_names(nullptr, 0, &count), nullptr);
    EXPECT_EQ(vrn_schema_get_indexed_field_names(schema_.get(), 1, &count), nullptr);
    EXPECT_EQ(count, 0U);
    EXPECT_THAT(log_.take(),
                testing::ElementsAre(
                    testing::MatchesRegex("3 \\[.*schema_registration.cc [0-9]+\\] out_count is "
                                          "NULL"),
                    testing::EndsWith("] schema is NULL"),
                    testing::EndsWith("] type_index 1 out of bounds (max: 0)")));
}

}  // namespace
}  // namespace vrn::test
