#include "data/serial/influx_event.h"
#include "data/serial/influx_fixtures.h"
#include "data/serial/influx_serializer.h"
#include "support/test.h"

namespace vrn::test {
namespace {

class InfluxEvent : public ::testing::Test {
  protected:
    vrn_type_system_ptr system_{vrn_type_system_create()};
    vrn_schema_t *schema_{vrn_type_system_add_new_schema(system_.get(), "p", 1, nullptr)};
    const data::InfluxSerializer serializer_;
};

TEST_F(InfluxEvent, WritesEveryKindOfValue) {
    const auto *type = add_type(schema_, "t",
                                {{"bool", "b"},
                                 {"char", "c"},
                                 {"char", "e", 0},
                                 {"short", "s"},
                                 {"int8_t", "i"},
                                 {"unsigned int", "n"},
                                 {"int", "m"},
                                 {"long long", "l"},
                                 {"float", "f"},
                                 {"double", "d"},
                                 {"timestamp", "t"},
                                 {"uint64_t", "guid"},
                                 {"uint16_t", "z"}});
    ByteBuilder record;
    record.u8(2).u8(200).u16(0xFFFE).u8(0x80).u32(0x80000000).u32(0x80000000).i64(-3).f32(-1.5);
    record.f64(0.1).u64(1000).u64(UINT64_MAX).u16(0xFFFF);
    // Memory of exactly that size, so that a sanitizer sees each read beyond it.
    const std::vector<char> exact(record.done().begin(), record.done().end());
    EXPECT_EQ(serializer_.event_fields(type, exact.data()),
              "b=false,c=200i,e=\"\",s=-2i,i=-128i,n=2147483648i,m=-2147483648i,l=-3i,f=-1.500000,"
              "d=0.100000,t=1000i,guid=18446744073709551615i,z=65535i");
}

TEST_F(InfluxEvent, GrowsKeysAlongInnerTypes) {
    add_type(schema_, "point", {{"uint8_t", "x"}, {"char", "n", 2}});
    add_type(schema_, "pair", {{"point", "p"}, {"point", "a", 2}});
    // No point stands in front of an array inside a structure; numeric arrays are left out.
    const auto *type = add_type(schema_, "t", {{"pair", "s"}, {"uint8_t", "v", 2}, {"bool", "b"}});
    EXPECT_EQ(serializer_.event_fields(type, "\x01k1\x02k\n\x03k3..\x03"),
              R"(s.p.x=1i,s.p.n="k1",sa.0.x=2i,sa.0.n="k",sa.1.x=3i,sa.1.n="k3",b=true)");
}

TEST_F(InfluxEvent, MakesWholeLinesInMilliseconds) {
    const auto *type = add_type(schema_, "a b=c,d", {{"char", "x y"}, {"char", "z"}});
    EXPECT_EQ(serializer_.event_line({}, type, "\x01\x02", 1999), R"(a\ b\=c\,d x y=1i,z=2i 1)");
    // Tags come in the order of their keys; an equals sign is not escaped in them.
    const data::Tags tags = {{"k y", "a=b"}, {"a,b", "c d"}, {"e", ""}};
    EXPECT_EQ(serializer_.event_line(tags, type, "\x01\x02", block_time),
              R"(a\ b\=c\,d,a\,b=c\ d,e=,k\ y=a=b x y=1i,z=2i 1700000000123)");
    // Linking a damaged schema leaves fields without a type, by which nothing is decoded.
    type->fields[0]->type = nullptr;
    EXPECT_EQ(serializer_.event_fields(type, "\x01\x02"), "z=2i");
}

TEST_F(InfluxEvent, RefusesARecordThatRepeatsALongKeyTooOften) {
    constexpr std::uint16_t length = 65535;
    const std::string name(2000, 'n');
    add_type(schema_, "leaf", {{"uint8_t", "x"}});
    add_type(schema_, "array", {{"leaf", "v", length}});
    const vrn_type_definition_t *type = add_type(schema_, "top", {{"array", name.c_str()}});
    ASSERT_NE(type, nullptr);
    const std::string record(length, '\1');
    TextBuffer text;
    text.append("before");
    EXPECT_FALSE(vrn_influx_write_event(type, record.data(), &text));
    EXPECT_EQ(text.view(), "before");
    EXPECT_EQ(CString(vrn_influx_serialize_event(type, record.data())), nullptr);
}

}  // namespace
}  // namespace vrn::test
