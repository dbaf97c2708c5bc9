#include <gtest/gtest.h>

#include "data/influx_fixtures.h"
#include "data/influx_serializer.h"
#include "utils/c_ptr.h"

namespace vrn::test {
namespace {

class InfluxEvent : public ::testing::Test {
  protected:
    InfluxEvent() : schema_(vrn_type_system_add_new_schema(system_.get(), "p", 1, nullptr)) {}

    std::string line_of(const std::vector<TestField> &fields, const std::string &record) {
        const std::string name = "t" + std::to_string(schema_->num_types);
        const CString text(
            vrn_influx_serialize_event(add_type(schema_, name.c_str(), fields), record.c_str()));
        return text.get();
    }

    vrn_type_system_ptr system_{vrn_type_system_create()};
    vrn_schema_t *schema_;  // of the system
};

TEST_F(InfluxEvent, ShowsEachBuiltinTypeByItsTable) {
    const std::string ones(8, '\xff');
    const struct {
        const char *type;
        std::string bytes;
        const char *value;
    } cases[] = {
        {"bool", "\x01", "true"},
        {"bool", "\x02", "false"},  // the lowest bit alone counts
        {"char", ones, "255i"},
        {"unsigned char", ones, "255i"},
        {"uint8_t", ones, "255i"},
        {"int8_t", ones, "-1i"},
        {"short", ones, "-1i"},
        {"int16_t", ones, "-1i"},
        {"unsigned short", ones, "65535i"},
        {"uint16_t", ones, "65535i"},
        {"int", ones, "-1i"},
        {"int32_t", ones, "-1i"},
        {"unsigned int", ones, "4294967295i"},
        {"uint32_t", ones, "4294967295i"},
        {"long", ones, "-1i"},
        {"long long", ones, "-1i"},
        {"int64_t", ones, "-1i"},
        {"unsigned long", ones, "18446744073709551615i"},
        {"unsigned long long", ones, "18446744073709551615i"},
        {"uint64_t", ones, "18446744073709551615i"},
        {"timestamp", ones, "18446744073709551615i"},
        {"float", ByteBuilder().f32(0.1F).done(), "0.100000"},
        {"double", ByteBuilder().f64(-2.5e20).done(), "-250000000000000000000.000000"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.type);
        EXPECT_EQ(line_of({{c.type, "port_guid"}}, c.bytes), std::string("port_guid=") + c.value);
    }
}

TEST_F(InfluxEvent, GrowsKeysAlongInnerTypes) {
    add_type(schema_, "point", {{"uint8_t", "x"}, {"char", "n", 2}});
    add_type(schema_, "pair", {{"point", "p"}, {"point", "a", 2}});
    const std::string pair = "\x01k1\x02k2\x03k3";
    const struct {
        const char *name;
        std::vector<TestField> fields;
        std::string record;
        const char *line;
    } cases[] = {
        {"struct", {{"point", "s"}}, pair, "s.x=1i,s.n=\"k1\""},
        {"array of structs",
         {{"point", "a", 2}},
         pair,
         "a.0.x=1i,a.0.n=\"k1\",a.1.x=2i,a.1.n=\"k2\""},
        {"array inside a struct",
         {{"pair", "s"}},
         pair,
         "s.p.x=1i,s.p.n=\"k1\",sa.0.x=2i,sa.0.n=\"k2\",sa.1.x=3i,sa.1.n=\"k3\""},
        {"numeric arrays have no form",
         {{"uint16_t", "value", 4}, {"uint8_t", "after"}},
         std::string(8, '\1') + "\x07",
         "after=7i"},
        {"nothing but a numeric array", {{"uint16_t", "value", 4}}, std::string(8, '\1'), ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(line_of(c.fields, c.record), c.line);
    }
}

TEST_F(InfluxEvent, CutsTextsAtTheFirstByteThatIsNotPrintable) {
    const struct {
        const char *name;
        std::string record;
        const char *line;
    } cases[] = {
        {"padded", ByteBuilder().field("ab", 8).done(), R"(name="ab")"},
        {"full", "abcdefgh", R"(name="abcdefgh")"},
        {"control character", "ab\ncdefg", R"(name="ab")"},
        {"high byte", "a\xc3\xa4", R"(name="a")"},
        {"signs go out as they stand", R"(a"\ ,=b )", R"(name="a"\ ,=b ")"},
        {"empty", std::string(8, '\0'), R"(name="")"},
    };
    for (const char *type : {"char", "unsigned char"})
        for (const auto &c : cases) {
            SCOPED_TRACE(c.name);
            EXPECT_EQ(line_of({{type, "name", 8}}, c.record), c.line);
        }
    EXPECT_EQ(line_of({{"char", "none", 0}, {"uint8_t", "x"}}, "\x01"), "none=\"\",x=1i");
}

// Linking a damaged schema leaves fields without a type, by which nothing is decoded.
TEST_F(InfluxEvent, LeavesOutFieldsWithoutAType) {
    const vrn_type_definition_t *type =
        add_type(schema_, "t", {{"uint8_t", "x"}, {"uint8_t", "y"}});
    type->fields[0]->type = nullptr;
    const CString text(vrn_influx_serialize_event(type, "\x01\x02"));
    EXPECT_STREQ(text.get(), "y=2i");
}

TEST_F(InfluxEvent, MakesWholeLinesInMilliseconds) {
    const vrn_type_definition_t *type =
        add_type(schema_, "a b=c,d", {{"uint8_t", "x y"}, {"uint8_t", "z"}});
    const data::InfluxSerializer serializer;
    EXPECT_EQ(serializer.event_line({}, type, "\x01\x02", 1999), R"(a\ b\=c\,d x y=1i,z=2i 1)");
    // Tags come in the order of their keys; an equals sign is not escaped in them.
    EXPECT_EQ(serializer.event_line({{"k y", "a=b"}, {"a,b", "c d"}, {"e", ""}}, type, "\x01\x02",
                                    1700000000123456),
              R"(a\ b\=c\,d,a\,b=c\ d,e=,k\ y=a=b x y=1i,z=2i 1700000000123)");
}

}  // namespace
}  // namespace vrn::test
