#include "data/event_json.h"

#include <limits>
#include <vector>

#include "data/schema/schema_registration.h"
#include "data/schema/type_system.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using JsonPtr = CPtr<JSON_Value, json_value_free>;
using JsonText = CPtr<char, json_free_serialized_string>;

std::string text_of(JSON_Value *value) {
    const JsonPtr owner(value);
    const JsonText text(value ? json_serialize_to_string(value) : nullptr);
    return text ? text.get() : "null";
}

// On the heap with nothing behind them, so that ASan sees any byte beyond.
std::vector<char> exact(const ByteBuilder &bytes) {
    const std::string all = ByteBuilder(bytes).done();
    return {all.begin(), all.end()};
}

struct ScalarCase {
    const char *type;
    ByteBuilder bytes;
    const char *plain;       // under the name "value"
    const char *guid_named;  // under the name "guids"
};

TEST(EventJson, ScalarsReadByTheirBuiltinType) {
    const auto ones = [] { return ByteBuilder().u64(UINT64_MAX); };
    const char *max64 = "1.8446744073709552e+19";
    const char *hex64 = "\"0xffffffffffffffff\"";
    const ScalarCase cases[] = {
        {"bool", ByteBuilder().u8(1), "1", "1"},
        {"char", ByteBuilder().u8(200), "200", "200"},
        {"unsigned char", ByteBuilder().u8(200), "200", "200"},
        {"uint8_t", ones(), "255", "255"},
        {"int8_t", ones(), "-1", "-1"},
        {"short", ones(), "-1", "-1"},
        {"int16_t", ones(), "-1", "-1"},
        {"unsigned short", ones(), "65535", "65535"},
        {"uint16_t", ones(), "65535", "65535"},
        {"int", ones(), "-1", "-1"},
        {"int32_t", ones(), "-1", "-1"},
        {"unsigned int", ones(), "4294967295", "4294967295"},
        {"uint32_t", ones(), "4294967295", "4294967295"},
        {"long", ones(), "-1", "-1"},
        {"long long", ones(), "-1", "-1"},
        {"int64_t", ones(), "-1", hex64},
        {"unsigned long", ones(), max64, hex64},
        {"uint64_t", ones(), max64, hex64},
        {"unsigned long long", ones(), max64, hex64},
        {"float", ByteBuilder().f32(0.1F), "0.10000000149011612", "0.10000000149011612"},
        {"double", ByteBuilder().f64(-0.0), "-0", "-0"},
        {"timestamp", ones(), max64, max64},
    };
    for (const ScalarCase &one : cases) {
        SCOPED_TRACE(one.type);
        const std::uint32_t id = vrn_builtin_type_id(one.type);
        const std::vector<char> bytes = exact(one.bytes);
        EXPECT_EQ(text_of(vrn_scalar_to_json(id, bytes.data(), "value")), one.plain);
        EXPECT_EQ(text_of(vrn_scalar_to_json(id, bytes.data(), nullptr)), one.plain);
        EXPECT_EQ(text_of(vrn_scalar_to_json(id, bytes.data(), "guids")), one.guid_named);
        EXPECT_EQ(text_of(vrn_scalar_to_json(id, bytes.data(), "Guids")), one.plain);
    }
    const std::vector<char> bytes = exact(ones());
    for (const std::uint32_t id : {0U, 23U})
        EXPECT_EQ(vrn_scalar_to_json(id, bytes.data(), "value"), nullptr);
}

class EventJsonRecord : public testing::Test {
  protected:
    void add(const char *name, std::vector<vrn_type_field_info_t> fields) {
        ASSERT_EQ(vrn_schema_add_type(schema_, name, fields.data(), fields.size(), nullptr),
                  VRN_SCHEMA_OK);
    }
    std::string record(const char *type, const ByteBuilder &bytes) {
        return text_of(vrn_event_to_json(vrn_schema_find_type(schema_, type), exact(bytes).data()));
    }

    vrn_type_system_ptr types_{vrn_type_system_create()};
    vrn_schema_t *schema_ = vrn_type_system_add_new_schema(types_.get(), "p", 0, nullptr);
};

TEST_F(EventJsonRecord, TextsEndAtTheFirstUnprintableByte) {
    add("t", {{"name", "", "char", 0, 8}, {"raw", "", "unsigned char", 0, 4}});
    const auto row = [](std::string_view name, std::string_view raw) {
        return ByteBuilder().field(name, 8).field(raw, 4);
    };
    EXPECT_EQ(record("t", row({"abc\0def\0", 8}, "12")), R"({"name":"abc","raw":"12"})");
    EXPECT_EQ(record("t", row("abcdefgh", "1234")), R"({"name":"abcdefgh","raw":"1234"})");
    EXPECT_EQ(record("t", row("ab\xff"
                              "c",
                              "\n12")),
              R"({"name":"ab","raw":""})");
}

TEST_F(EventJsonRecord, CompositesAndArraysNest) {
    add("point", {{"x", "", "int16_t", 0, 1}, {"one", "", "char", 0, 1}});
    add("track", {{"points", "", "point", 0, 2},
                  {"none", "", "int", 0, 0},
                  {"no_text", "", "char", 0, 0},
                  {"last", "", "point", 0, 1}});
    EXPECT_EQ(record("track", ByteBuilder().u16(1).text("a").u16(65535).text("b").u16(3).text("c")),
              R"({"points":[{"x":1,"one":97},{"x":-1,"one":98}],"none":[],"no_text":"",)"
              R"("last":{"x":3,"one":99}})");
}

TEST_F(EventJsonRecord, GuidWordsShowEightBytesWhateverTheirWidth) {
    add("t", {{"port_guid", "", "uint32_t", 0, 1}, {"guidance", "", "uint64_t", 0, 1}});
    EXPECT_EQ(record("t", ByteBuilder().u32(0x11).u64(0x2200000033)),
              R"({"port_guid":"0x0000003300000011","guidance":"0x0000002200000033"})");
}

TEST_F(EventJsonRecord, RefusesWhatJsonCannotHold) {
    add("t", {{"before", "", "int8_t", 0, 1}, {"v", "", "double", 0, 1}});
    for (const double value :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        EXPECT_EQ(record("t", ByteBuilder().u8(1).f64(value)), "null");
    EXPECT_EQ(record("t", ByteBuilder().u8(1).f64(1e17)), R"({"before":1,"v":1e+17})");
}

TEST_F(EventJsonRecord, RepeatedNamesKeepTheFirstPlaceAndTheLastValue) {
    // The last field is not compared when a type is registered.
    add("t", {{"a", "", "int8_t", 0, 1}, {"b", "", "int8_t", 0, 1}, {"a", "", "int8_t", 0, 1}});
    EXPECT_EQ(record("t", ByteBuilder().u8(1).u8(2).u8(3)), R"({"a":3,"b":2})");
}

}  // namespace
}  // namespace vrn::test
