#include <gtest/gtest.h>

#include "data/influx_event.h"
#include "data/influx_fixtures.h"
#include "data/influx_serializer.h"

namespace vrn::test {
namespace {

class InfluxEvent : public ::testing::Test {
  protected:
    InfluxEvent() {
        add_type(schema_, "point", {{"uint8_t", "x"}, {"char", "n", 2}});
        add_type(schema_, "pair", {{"point", "p"}, {"point", "a", 2}});
    }

    std::string line_of(const std::vector<TestField> &fields, const std::string &record) {
        const std::string name = "t" + std::to_string(schema_->num_types);
        const CString line(
            vrn_influx_serialize_event(add_type(schema_, name.c_str(), fields), record.c_str()));
        return line.get();
    }

    vrn_type_system_ptr system_{vrn_type_system_create()};
    vrn_schema_t *schema_{vrn_type_system_add_new_schema(system_.get(), "p", 1, nullptr)};
};

TEST_F(InfluxEvent, GrowsKeysAlongInnerTypes) {
    const std::string record = "\x01k1\x02k2\x03k3";
    const struct {
        std::vector<TestField> fields;
        const char *line;
    } cases[] = {
        {{{"point", "s"}}, R"(s.x=1i,s.n="k1")"},
        {{{"point", "a", 2}}, R"(a.0.x=1i,a.0.n="k1",a.1.x=2i,a.1.n="k2")"},
        // No point stands in front of an array inside a structure.
        {{{"pair", "s"}}, R"(s.p.x=1i,s.p.n="k1",sa.0.x=2i,sa.0.n="k2",sa.1.x=3i,sa.1.n="k3")"},
        {{{"uint16_t", "value", 4}, {"char", "t", 1}}, "t=51i"},  // no numeric arrays
        {{{"uint16_t", "value", 4}}, ""},
        // The lowest bit alone counts.
        {{{"bool", "on"}, {"char", "guid", 2}, {"bool", "off"}}, R"(on=true,guid="k1",off=false)"},
    };
    for (const auto &c : cases) EXPECT_EQ(line_of(c.fields, record), c.line);
}

TEST_F(InfluxEvent, CutsTextsAtTheFirstByteThatIsNotPrintable) {
    const struct {
        const char *record;
        const char *line;
    } cases[] = {
        {"ab\0\0", R"(t="ab")"},    {"abcd", R"(t="abcd")"},   {"ab\nc", R"(t="ab")"},
        {"a\xc3\xa4z", R"(t="a")"}, {"\"\\=,", R"(t=""\=,")"}, {"\0abc", R"(t="")"},
    };
    for (const char *type : {"char", "unsigned char"})
        for (const auto &c : cases)
            EXPECT_EQ(line_of({{type, "t", 4}}, std::string(c.record, 4)), c.line) << type;
    EXPECT_EQ(line_of({{"char", "t", 0}, {"uint8_t", "x"}}, "\x01"), R"(t="",x=1i)");
}

TEST_F(InfluxEvent, MakesWholeLinesInMilliseconds) {
    const auto *type = add_type(schema_, "a b=c,d", {{"char", "x y"}, {"char", "z"}});
    const data::InfluxSerializer serializer;
    EXPECT_EQ(serializer.event_line({}, type, "\x01\x02", 1999), R"(a\ b\=c\,d x y=1i,z=2i 1)");
    // Tags come in the order of their keys; an equals sign is not escaped in them.
    const data::Tags tags = {{"k y", "a=b"}, {"a,b", "c d"}, {"e", ""}};
    EXPECT_EQ(serializer.event_line(tags, type, "\x01\x02", block_time),
              R"(a\ b\=c\,d,a\,b=c\ d,e=,k\ y=a=b x y=1i,z=2i 1700000000123)");
    // Linking a damaged schema leaves fields without a type, by which nothing is decoded.
    type->fields[0]->type = nullptr;
    EXPECT_EQ(serializer.event_fields(type, "\x01\x02"), "z=2i");
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
