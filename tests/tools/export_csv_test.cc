#include "data/schema/schema_text.h"
#include "support/export_samples.h"
#include "support/exported_file.h"
#include "support/test.h"
#include "vrn_export/format/csv_tables.h"

namespace vrn::exporter {
namespace {

using test::Lines;

class CsvFormat : public testing::Test {
  protected:
    // Schemas by their ids' digit.
    std::shared_ptr<const scan::LoadedSchemas> load(const std::string &event_digits) {
        scan::SchemaIds ids{};
        for (const char digit : event_digits)
            EXPECT_TRUE(vrn_schema_id_from_hex(std::string(32, digit).c_str(),
                                               &ids.events[ids.num_events++]));
        return cache_.get(ids);
    }
    void write_schema(char digit, const std::string &types) {
        dir_.write("schema/schema_" + std::string(32, digit) + ".json", test::schema_text(types));
    }
    // The table with its head and without carriage returns.
    static std::string table(const Format &format, test::ExportedFile &file,
                             const std::string &name) {
        std::string text = format.head(name) + file.tables[name];
        std::erase(text, '\r');
        return text;
    }

    test::TempDir dir_;
    scan::SchemaCache cache_{{.folder = dir_.file("schema")}};
};

TEST_F(CsvFormat, WritesATableForEachKindOfRow) {
    test::write_odd_schemas(dir_);
    const auto format = make_format({.kind = FormatKind::csv, .iso_times = true});
    scan::SchemaIds ids = load("1")->ids;
    EXPECT_TRUE(vrn_schema_id_from_hex(test::sample_counters_id, &ids.counters));
    format->learn(*cache_.get(ids));
    const double infinity = std::numeric_limits<double>::infinity();
    test::ExportedFile file = test::export_file(
        test::odd_file({{.user = ~std::uint64_t{0}, .f = -0.0F, .d = infinity, .name = ""},
                        {.time = std::uint64_t{1} << 63, .name = "x\"\\\n,\xc3\xa4\xff"}}),
        dir_, *format);
    EXPECT_EQ(file.tables.size(), 5U);
    EXPECT_EQ(table(*format, file, "cpu load"),
              R"(time,source,tag,timestamp,time_,user,a b,a/b,a\b,tag_,guid,f,d,name,cpu
1970-01-01T00:00:00.001000Z,node1,"",1970-01-01T00:00:00.001000Z,1970-01-01T00:00:00.000077Z,18446744073709551615,-5,1,2,1,200,-0.0,,"",3
9223372036854775808,node1,"",9223372036854775808,1970-01-01T00:00:00.000077Z,1,-5,1,2,1,200,0.5,0.25,"x""\
,ä�",3
)");
    EXPECT_EQ(table(*format, file, "port"),
              R"(time,source,tag,rx.bytes,rx_bytes,errors_total,mask,wide
1970-01-01T00:00:00.002000Z,node1,"",5,18446744073709551615,-1,0x00000000000000ff,18446744073709551617
)");
    EXPECT_EQ(table(*format, file, "metrics"),
              R"(time,source,tag,metric,kind,value,labels
1970-01-01T00:00:00.003000Z,node1,"",busy,counter,7,"{""le"":""1"",""a b"":""x,y"",""a\\b"":""\""q\""\\"",""a/b"":""tab\tline\nend"",""source"":""�ä"",""empty"":""""}"
1970-01-01T00:00:00.003000Z,node1,"",9.lat_count,counter,18446744073709551615,"{""le"":""1"",""a b"":""x,y"",""a\\b"":""\""q\""\\"",""a/b"":""tab\tline\nend"",""source"":""�ä"",""empty"":""""}"
1970-01-01T00:00:00.004000Z,node1,"",busy,gauge,,{}
1970-01-01T00:00:00.004000Z,node1,"",9.lat_count,gauge,1.5,{}
)");
    EXPECT_EQ(table(*format, file, "histograms").substr(0, 147),
              R"(time,source,tag,metric,sum,count,buckets,labels
1970-01-01T00:00:00.005000Z,node1,"",lat,6.5,4,"[{""le"":0.5,""count"":1},{""le"":0.5,""count"":2},)");
    EXPECT_EQ(file.counts.dropped_values, 5U);
}

TEST_F(CsvFormat, JoinsTheColumnsOfAllSchemasWhateverTheirOrder) {
    write_schema('1', "t 8 a:int@0,4 b:int@4,4");
    write_schema('2', "p 2 x:char@0,1;t 20 c:p@0,2x2 a:int@4,4 time:int@8,4 d:char@12,1x8");
    write_schema('3', "t 4 new:int@0,4;metrics 4 metric:int@0,4;histograms 8 h:int@0,4 i:int@4,4");
    for (const bool is_first : {true, false}) {
        const auto format = make_format({.kind = FormatKind::csv});
        format->learn(*load(is_first ? "1" : "2"));
        format->learn(*load(is_first ? "2" : "1"));
        EXPECT_EQ(format->head("t"), "time,source,tag,a,b,c.0.x,c.1.x,time_,d\r\n");
        // A schemas block names a schema that no header does.
        const auto block = [](std::uint8_t type, const std::string &row) {
            return test::ByteBuilder().text("VRNE").u64(5).u8(0).u16(type).u8(1).text(row).done();
        };
        vrn_schema_id_t id{};
        EXPECT_TRUE(vrn_schema_id_from_hex(std::string(32, '3').c_str(), &id));
        test::ByteBuilder schemas;
        schemas.text("VRNS").u16(256).u16(1).zeros(8).raw(&id, sizeof id).pad_to(256);
        test::ExportedFile file =
            test::export_file(test::ByteBuilder()
                                  .text(test::sample_file_header(512))
                                  .text(block(0, test::ByteBuilder().u32(7).u32(8).done()))
                                  .text(schemas.done())
                                  .text(block(0, test::ByteBuilder().u32(9).done()))
                                  .text(block(1, test::ByteBuilder().u32(10).done()))
                                  .text(block(2, test::ByteBuilder().u32(11).u32(12).done()))
                                  .done(),
                              dir_, *format);
        EXPECT_EQ(file.tables.size(), 4U);
        EXPECT_EQ(file.counts.events, 4U);
        EXPECT_EQ(table(*format, file, "t"),
                  "time,source,tag,a,b,c.0.x,c.1.x,time_,d\n5,node1,\"\",7,8,,,,\n");
        EXPECT_EQ(table(*format, file, "t-e844f768"), "time,source,tag,new\n5,node1,\"\",9\n");
        EXPECT_EQ(table(*format, file, "metrics"),
                  "time,source,tag,metric,kind,value,labels\n5,node1,\"\",10,,,\n");
    }
}

TEST(CsvTables, GiveOtherColumnsATableOfTheirOwn) {
    CsvTables tables;
    tables.learn("t", {"a", "b"});
    const std::string own = tables.find("t", {"z"}).table;
    EXPECT_EQ(own, tables.find("t", {"z"}).table);
    EXPECT_NE(own, tables.find("t", {"y"}).table);
    EXPECT_EQ(tables.find("t", {"b"}).positions, std::vector<std::size_t>{1});
    // What bears that very name was there before.
    CsvTables others;
    others.learn(own, {"q"});
    EXPECT_EQ(others.find("t", {"z"}).table, own + "_");
    EXPECT_EQ(others.columns_of(own), Columns{"q"});
}

}  // namespace
}  // namespace vrn::exporter
