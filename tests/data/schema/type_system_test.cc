#include "data/schema/type_system.h"

#include <algorithm>

#include "counters/counters_schema_json.h"
#include "data/schema/schema_json.h"
#include "data/schema/schema_registration.h"
#include "data/text/json_value.h"
#include "support/test.h"

namespace vrn::test {
namespace {

class TypeSystem : public testing::Test {
  protected:
    vrn_schema_t *add_schema(vrn_type_system_t *ts, const char *field_type = "int") {
        vrn_schema_t *schema = vrn_type_system_add_new_schema(ts, "p", 1, nullptr);
        const vrn_type_field_info_t info = {"a", "", field_type, 0, 1};
        EXPECT_EQ(vrn_schema_add_type(schema, "t", &info, 1, nullptr), 0);
        return schema;
    }

    vrn_type_system_ptr ts_{vrn_type_system_create()};
    CapturedLog log_;
};

TEST_F(TypeSystem, StartsWithBuiltinTypesAndAnEmptyCountersSchema) {
    EXPECT_STREQ(ts_->builtin_schema->provider_name, "<built-in>");
    EXPECT_EQ(ts_->builtin_schema->provider_version, 1281U);
    ASSERT_EQ(ts_->builtin_schema->num_types, 22);
    EXPECT_EQ(ts_->builtin_schema->types[21]->builtin_id, VRN_BUILTIN_TIMESTAMP);
    ASSERT_NE(ts_->counters_schema, nullptr);
    EXPECT_EQ(ts_->counters_schema->num_groups, 0U);
    EXPECT_EQ(vrn_type_system_max_type_size(ts_.get()), 0U);
    EXPECT_EQ(vrn_type_system_remove_last_schema(ts_.get()), 0);
}

TEST_F(TypeSystem, FindsSchemasByRefreshedDigests) {
    vrn_schema_t *schema = add_schema(ts_.get());
    EXPECT_EQ(schema->parent, ts_->builtin_schema);
    EXPECT_TRUE(vrn_schema_id_is_zero(&schema->md5_digest));
    EXPECT_STREQ(schema->md5_digest_hex, std::string(32, '0').c_str());
    add_schema(ts_.get(), "double");
    EXPECT_TRUE(vrn_type_system_refresh_digests(ts_.get()));

    vrn_schema_id_t digest;
    ASSERT_TRUE(vrn_schema_compute_digest(ts_->schemas[1], &digest));
    EXPECT_EQ(vrn_schema_id_compare(&digest, &ts_->schemas[1]->md5_digest), 0);
    const CString hex(vrn_schema_id_to_hex(&digest));
    std::uint8_t index = 99;
    CapturedLog log(7);
    EXPECT_TRUE(vrn_type_system_find_schema_by_hex(ts_.get(), hex.get(), &index));
    EXPECT_EQ(index, 1);
    EXPECT_EQ(log.take(), Lines{std::string("7 Schema already exists ") + hex.get()});
    EXPECT_FALSE(vrn_type_system_find_schema_by_hex(ts_.get(), "00", &index));
}

TEST_F(TypeSystem, SharesTheSchemasOfAnotherUpToABadOne) {
    const vrn_type_system_ptr other(vrn_type_system_create());
    vrn_schema_t *good = add_schema(other.get());
    vrn_schema_t *bad = add_schema(other.get());
    bad->types[0]->size = 1;
    std::uint8_t index = 99;
    EXPECT_EQ(vrn_type_system_add_schemas_of(ts_.get(), other.get(), &index),
              VRN_TYPE_SYSTEM_FAILED);
    EXPECT_EQ(log_.take(),
              (Lines{"3 Field 't.a' of schema 'p' does not lie within the 1 bytes of its type",
                     "3 Cannot add schema to type system"}));
    EXPECT_EQ(ts_->num_schemas, 1);
    EXPECT_EQ(index, 0);
    EXPECT_EQ(ts_->schemas[0], good);
    EXPECT_EQ(good->types[0]->fields[0]->type, ts_->builtin_schema->types[VRN_BUILTIN_INT - 1]);

    bad->types[0]->size = 4;
    ts_->schemas[--ts_->num_schemas] = nullptr;
    EXPECT_EQ(vrn_type_system_add_schemas_of(ts_.get(), other.get(), &index), 0U);
    EXPECT_EQ(index, 1);
    std::ranges::fill(other->schemas, nullptr);
    other->num_schemas = 0;
}

TEST_F(TypeSystem, TellsTheSizesOfItsLargestRecords) {
    add_schema(ts_.get(), "double");
    add_schema(ts_.get(), "short");
    ts_->counters_schema->size = 7;
    EXPECT_EQ(vrn_type_system_max_type_size(ts_.get()), 8U);
    EXPECT_EQ(vrn_type_system_max_record_size(ts_.get()), 8U);
    ts_->counters_schema->size = 9;
    EXPECT_EQ(vrn_type_system_max_record_size(ts_.get()), 9U);
    ts_->schemas[1]->types[0]->size = std::uint64_t{1} << 40;
    EXPECT_EQ(vrn_type_system_max_type_size(ts_.get()), 0xFFFFFFFFU);
}

TEST_F(TypeSystem, CachesTheIdOfItsCountersSchema) {
    vrn_schema_id_t id{};
    ASSERT_TRUE(vrn_type_system_get_counters_schema_id(ts_.get(), &id));
    vrn_schema_id_t expected;
    const vrn_json_value_ptr value(vrn_counters_schema_jsonify(ts_->counters_schema));
    ASSERT_TRUE(vrn_md5_of_json(&expected, value.get()));
    EXPECT_EQ(vrn_schema_id_compare(&id, &expected), 0);
    EXPECT_EQ(vrn_schema_id_compare(&ts_->counters_schema_id, &expected), 0);

    vrn_schema_id_set_blob(&ts_->counters_schema_id);
    ASSERT_TRUE(vrn_type_system_get_counters_schema_id(ts_.get(), &id));
    EXPECT_TRUE(vrn_schema_id_is_blob(&id));

    vrn_counters_schema_destroy(ts_->counters_schema);
    ts_->counters_schema = nullptr;
    vrn_schema_id_t untouched{};
    EXPECT_TRUE(vrn_type_system_get_counters_schema_id(ts_.get(), &untouched));
    EXPECT_TRUE(vrn_schema_id_is_zero(&untouched));
    EXPECT_EQ(vrn_type_system_max_record_size(ts_.get()), 0U);
}

}  // namespace
}  // namespace vrn::test
