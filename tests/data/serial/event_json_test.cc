#include "data/serial/event_json.h"

#include <limits>

#include "data/serial/influx_fixtures.h"
#include "data/text/json_value.h"
#include "support/test.h"

namespace vrn::test {
namespace {

std::string text_of(JSON_Value *value) {
    const vrn_json_value_ptr owner(value);
    const vrn_json_text_ptr text(value ? json_serialize_to_string(value) : nullptr);
    return text ? text.get() : "null";
}

TEST(EventJson, ScalarsReadByTheirBuiltinType) {
    const auto ones = ByteBuilder().u64(UINT64_MAX);
    const char *max64 = "1.8446744073709552e+19";
    const char *hex64 = "\"0xffffffffffffffff\"";
    const struct {
        std::vector<const char *> types;
        ByteBuilder bytes;
        const char *plain;       // under the name "value"
        const char *guid_named;  // under the name "guids"
    } cases[] = {
        {{"bool"}, ByteBuilder().u8(1), "1", "1"},
        {{"char", "unsigned char"}, ByteBuilder().u8(200), "200", "200"},
        {{"uint8_t"}, ones, "255", "255"},
        {{"int8_t", "short", "int16_t", "int", "int32_t", "long", "long long"}, ones, "-1", "-1"},
        {{"unsigned short", "uint16_t"}, ones, "65535", "65535"},
        {{"unsigned int", "uint32_t"}, ones, "4294967295", "4294967295"},
        {{"int64_t"}, ones, "-1", hex64},
        {{"unsigned long", "uint64_t", "unsigned long long"}, ones, max64, hex64},
        {{"float"}, ByteBuilder().f32(0.1F), "0.10000000149011612", "0.10000000149011612"},
        {{"double"}, ByteBuilder().f64(-0.0), "-0", "-0"},
        {{"timestamp"}, ones, max64, max64},
    };
    for (const auto &one : cases)
        for (const char *type : one.types) {
            SCOPED_TRACE(type);
            const std::uint32_t id = vrn_builtin_type_id(type);
            const auto bytes = exact_bytes(one.bytes.done());
            EXPECT_EQ(text_of(vrn_scalar_to_json(id, bytes.data(), "value")), one.plain);
            EXPECT_EQ(text_of(vrn_scalar_to_json(id, bytes.data(), nullptr)), one.plain);
            EXPECT_EQ(text_of(vrn_scalar_to_json(id, bytes.data(), "guids")), one.guid_named);
            EXPECT_EQ(text_of(vrn_scalar_to_json(id, bytes.data(), "Guids")), one.plain);
        }
    for (const std::uint32_t id : {0U, 23U})
        EXPECT_EQ(vrn_scalar_to_json(id, exact_bytes(ones.done()).data(), "value"), nullptr);
}

TEST(EventJson, RecordsNestAndTextsEnd) {
    const auto texts = [](std::string_view name, std::string_view raw) {
        return ByteBuilder().field(name, 8).field(raw, 4);
    };
    const std::vector<TestField> two_texts = {{"char", "name", 8}, {"unsigned char", "raw", 4}};
    const std::vector<TestField> number = {{"int8_t", "before"}, {"double", "v"}};
    const struct {
        std::vector<TestField> fields;
        ByteBuilder row;
        const char *json;
    } cases[] = {
        {two_texts, texts({"abc\0def\0", 8}, "12"), R"({"name":"abc","raw":"12"})"},
        {two_texts, texts("abcdefgh", "1234"), R"({"name":"abcdefgh","raw":"1234"})"},
        {two_texts, texts("ab\377c", "\n12"), R"({"name":"ab","raw":""})"},
        {{{"point", "points", 2}, {"int", "none", 0}, {"char", "empty", 0}, {"point", "last"}},
         ByteBuilder().u16(1).text("a").u16(65535).text("b").u16(3).text("c"),
         R"({"points":[{"x":1,"one":97},{"x":-1,"one":98}],"none":[],"empty":"",)"
         R"("last":{"x":3,"one":99}})"},
        // GUID words show eight bytes whatever their width.
        {{{"uint32_t", "port_guid"}, {"uint64_t", "guidance"}},
         ByteBuilder().u32(0x11).u64(0x2200000033),
         R"({"port_guid":"0x0000003300000011","guidance":"0x0000002200000033"})"},
        {number, ByteBuilder().u8(1).f64(1e17), R"({"before":1,"v":1e+17})"},
        // JSON can't hold these.
        {number, ByteBuilder().u8(1).f64(std::numeric_limits<double>::quiet_NaN()), "null"},
        {number, ByteBuilder().u8(1).f64(std::numeric_limits<double>::infinity()), "null"},
        // The last field is not compared when a type is registered.
        {{{"int8_t", "a"}, {"int8_t", "b"}, {"int8_t", "a"}},
         ByteBuilder().u8(1).u8(2).u8(3),
         R"({"a":3,"b":2})"},
    };
    for (const auto &c : cases) {
        const vrn_type_system_ptr types(vrn_type_system_create());
        vrn_schema_t *schema = vrn_type_system_add_new_schema(types.get(), "p", 0, nullptr);
        add_type(schema, "point", {{"int16_t", "x"}, {"char", "one"}});
        const vrn_type_definition_t *type = add_type(schema, "t", c.fields);
        ASSERT_NE(type, nullptr) << c.json;
        EXPECT_EQ(text_of(vrn_event_to_json(type, exact_bytes(c.row.done()).data())), c.json);
    }
}

}  // namespace
}  // namespace vrn::test
