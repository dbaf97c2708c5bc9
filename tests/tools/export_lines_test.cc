#include <gmock/gmock.h>

#include "support/export_samples.h"
#include "support/exported_file.h"
#include "support/test.h"
#include "vrn_export/format/lines_fields.h"
#include "vrn_export/format/lines_text.h"

namespace vrn::exporter {
namespace {

class LinesFormat : public testing::Test {
  protected:
    LinesFormat() { test::write_odd_schemas(dir_); }

    FormatOptions options_{.kind = FormatKind::lines};
    test::TempDir dir_;
};

TEST(LinesText, EscapesWhatServersWouldMisread) {
    struct Case {
        std::string_view text, name, tag_value, field;
    };
    const Case cases[] = {
        {"plain-1_x.y", "plain-1_x.y", "plain-1_x.y", "plain-1_x.y"},
        {"", "_", "", ""},
        {"#a#", "_a#", "#a#", "#a#"},
        {"a b,c=d", R"(a\ b\,c\=d)", R"(a\ b\,c\=d)", "a b,c=d"},
        {"\\a\\", "/a/", "/a/", R"(\\a\\)"},
        {"\"a'", "'a'", "\"a'", R"(\"a')"},
        {"\na\r\t\x7f", "_a___", "_a___", " a\r\t\x7f"},
        {"\xc3\xa4\xff\xc3", "\xc3\xa4\xef\xbf\xbd\xef\xbf\xbd", "\xc3\xa4\xef\xbf\xbd\xef\xbf\xbd",
         "\xc3\xa4\xef\xbf\xbd\xef\xbf\xbd"},
    };
    for (const Case &one : cases) {
        SCOPED_TRACE(one.text);
        EXPECT_EQ(lines_name(one.text), one.name);
        TextBuffer text;
        append_lines_tag_value(one.text, &text);
        EXPECT_EQ(text.view(), one.tag_value);
        text.clear();
        const bool keeps_all = one.text.find_first_of("\n\xff") == one.text.npos;
        EXPECT_EQ(append_lines_text(one.text, &text), keeps_all);
        EXPECT_EQ(text.view(), "\"" + std::string(one.field) + "\"");
    }
}

TEST(LinesFields, GivesEachTypeANameOfItsOwn) {
    LinesFields fields;
    fields.add("x", LinesFieldType::float64);
    EXPECT_EQ(fields.name_of("x", LinesFieldType::float64), "x");
    fields.add("x", LinesFieldType::integer);
    fields.add("x", LinesFieldType::text);
    fields.add("x_float", LinesFieldType::integer);
    fields.add("x_float", LinesFieldType::float64);
    EXPECT_EQ(fields.name_of("x", LinesFieldType::integer), "x");
    EXPECT_EQ(fields.name_of("x", LinesFieldType::text), "x_text");
    EXPECT_EQ(fields.name_of("x", LinesFieldType::float64), "x_float_");
    EXPECT_EQ(fields.name_of("x_float", LinesFieldType::float64), "x_float_float");
    EXPECT_EQ(fields.name_of("unknown", LinesFieldType::integer), "unknown_integer");
    EXPECT_EQ(fields.name_of("x_float", LinesFieldType::text), "x_float_text");
}

TEST_F(LinesFormat, WritesWhatServersTake) {
    options_.tag_fields = {"cpu", "name"};
    const double infinity = std::numeric_limits<double>::infinity();
    test::ExportedFile file = test::export_file(
        test::odd_file(
            {{.name = "a b"},
             {.time = 0, .user = ~std::uint64_t{0}, .f = -0.0F, .d = infinity, .name = ""},
             {.time = std::uint64_t{1} << 63}}),
        dir_, options_);
    EXPECT_EQ(
        file.text(),
        R"(cpu\ load,source=node1,name=a\ b,cpu=3 time_=77i,user=1i,a\ b=-5i,a/b=1i,a/b_=2i,tag_=1i,guid=200i,f=0.5,d=0.25 1000000
cpu\ load,source=node1,cpu=3 time_=77i,user_float=18446744073709551616,a\ b=-5i,a/b=1i,a/b_=2i,tag_=1i,guid=200i,f=-0 0
port,source=node1 rx.bytes=5i,rx_bytes_float=18446744073709551616,errors_total=-1i,mask="0x00000000000000ff",wide=18446744073709551616 2000000
lat,source=node1,le=1,a\ b=x\,y,a/b="q"/,a/b_=tab_line_end,source_=�ä sum=6.5,count=4i,le_0.5=1i,le_0.5_=2i,le_1e+06=3i,le_+Inf=4i 5000000
busy,source=node1,le=1,a\ b=x\,y,a/b="q"/,a/b_=tab_line_end,source_=�ä value=7i 3000000
9.lat_count,source=node1,le=1,a\ b=x\,y,a/b="q"/,a/b_=tab_line_end,source_=�ä value_float=18446744073709551616 3000000
9.lat_count,source=node1 value_float=1.5 4000000
)");
    EXPECT_EQ(file.faults, test::Lines{});
    // A row whose time has no nanoseconds, one without a field, an infinity, NaN, a histogram.
    EXPECT_EQ(file.counts.dropped_values, 9U + 1 + 1 + 1 + 4);
    EXPECT_EQ(file.counts.changed_values, 4U);
}

// As when a field has become a float, and an event type has the name of a metric.
TEST_F(LinesFormat, KnowsTheTypesOfFieldsInAllSchemas) {
    const std::string other_id(32, 'a');
    dir_.write(std::string("schema/schema_") + test::sample_events_id + ".json",
               test::schema_text("busy 8 x:double@0,8;"));
    dir_.write("schema/schema_" + other_id + ".json", test::schema_text("busy 8 x:uint64_t@0,8;"));
    vrn_schema_id_t id{};
    EXPECT_TRUE(vrn_schema_id_from_hex(other_id.c_str(), &id));
    const std::string block =
        test::ByteBuilder().text("VRNE").u64(1000).u8(0).u16(0).u8(1).u64(0).done();
    const std::string bytes = test::ByteBuilder()
                                  .text(test::sample_file_header(test::odd_chunk_size))
                                  .text(block)
                                  .text("VRNS")
                                  .u16(256)
                                  .u16(1)
                                  .zeros(8)
                                  .raw(&id, sizeof id)
                                  .pad_to(256 + block.size() + 256)
                                  .text(block)
                                  .pad_to(256 + test::odd_chunk_size)
                                  .text(test::odd_metrics())
                                  .done();
    EXPECT_THAT(test::export_file(bytes, dir_, options_).text(),
                testing::AllOf(testing::StartsWith("busy,source=node1 x_float=0 1000000\n"
                                                   "busy,source=node1 x=0i 1000000\n"),
                               testing::HasSubstr("\nbusy_,source=node1,le=1")));
    // Fields that nobody has learned, as those of types that are too wide, clash with none.
    EXPECT_THAT(test::export_file(bytes, dir_, *make_format(options_)).text(),
                testing::StartsWith("busy,source=node1 x_float=0 1000000\n"
                                    "busy,source=node1 x_integer=0i 1000000\n"));
}

}  // namespace
}  // namespace vrn::exporter
