#include "data/serial/influx_fixtures.h"
#include "data/serial/influx_serializer.h"
#include "support/test.h"

namespace vrn::test {
namespace {

constexpr auto NODE = VRN_GRANULARITY_NODE;
constexpr auto CPU = VRN_GRANULARITY_CPU;
constexpr auto PACKAGE = VRN_GRANULARITY_PACKAGE;

TEST(InfluxCounters, ShowsValuesByTypeAndFormat) {
    const std::string ones(8, '\xff');
    const std::string half = ByteBuilder().f64(0.5).done();
    const std::string wide("\0\1\2\3\4\5\6\7\10\11\12\13\14\15\16\17", 16);
    constexpr std::uint32_t unknown = 0xFFFFFFFF;
    const struct {
        std::uint32_t data_type;
        std::uint32_t format;
        std::string data;
        const char *text;
        std::uint32_t length = 0;
    } cases[] = {
        {VRN_DATA_BIT64, VRN_STRING_DEFAULT, "\1", R"("0x0000000000000001")"},
        {VRN_DATA_BIT64, VRN_STRING_DECIMAL, "\1", "1i"},
        {VRN_DATA_UINT64, VRN_STRING_DEFAULT, ones, "18446744073709551615i"},
        {VRN_DATA_UINT64, VRN_STRING_DECIMAL, "\1\2", "513i"},
        {VRN_DATA_UINT64, VRN_STRING_HEXADECIMAL, "\1", R"("0x0000000000000001")"},
        {VRN_DATA_UINT64, unknown, "", R"("0")"},
        {VRN_DATA_INT64, VRN_STRING_DEFAULT, ones, "-1i"},
        {VRN_DATA_INT64, unknown, ones, R"("-1")"},
        {VRN_DATA_UNDEFINED, VRN_STRING_DECIMAL, ones, "-1i"},
        {unknown, VRN_STRING_HEXADECIMAL, ones, R"("0xffffffffffffffff")"},
        {VRN_DATA_FP64, VRN_STRING_DECIMAL, half, "0.500000"},
        {VRN_DATA_FP64, VRN_STRING_HEXADECIMAL, half, R"("0x3fe0000000000000")"},
        {VRN_DATA_UINT128, VRN_STRING_DEFAULT, wide, R"("000102030405060708090a0b0c0d0e0f")"},
        {VRN_DATA_INT128, VRN_STRING_UUID, wide, R"("00010203-0405-0607-0809-0a0b0c0d0e0f")"},
        {VRN_DATA_UINT128, VRN_STRING_DEFAULT, "\1", R"("01000000000000000000000000000000")"},
        {VRN_DATA_STRING, VRN_STRING_UUID, "a \"cd", "a \"c", 4},
        {VRN_DATA_STRING, VRN_STRING_DEFAULT, std::string("a,b\0c", 5), "a,b", 5},
        {VRN_DATA_STRING, VRN_STRING_DEFAULT, std::string("a,b\0c", 5), "a,b"},
        {VRN_DATA_STRING, VRN_STRING_DEFAULT, "abc", "abc"},  // as all, open at its end
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        const auto counter = make_counter("guid", c.data_type, c.format, c.length);
        EXPECT_EQ(data::InfluxSerializer().counter_value_text(exact_bytes(c.data), &counter),
                  c.text);
    }
}

class InfluxRecords : public ::testing::Test {
  protected:
    // Lines of the records that have fields, each value showing its slot.
    Lines lines_of(const std::string &hcas, const data::Tags &tags) {
        std::vector<std::uint64_t> slots(64);
        for (std::size_t i = 0; i < slots.size(); ++i) slots[i] = i;
        const auto block = exact_bytes(counters_block(slots));
        const auto page = load_le<vrn_data_page_t>(page_bytes("", hcas).data());
        const data::InfluxSerializer serializer;
        Lines lines;
        for (const auto &record : serializer.counters_records(tags, page, schema_.get())) {
            all_ += record.measurement + '[' + record.prefix + "] ";
            if (!record.fields.empty())
                lines.push_back(serializer.counters_record_line(record, block));
        }
        return lines;
    }

    vrn_counters_schema_ptr schema_{vrn_counters_schema_create()};
    std::string all_;  // the records of lines_of
};

TEST_F(InfluxRecords, SortTheCountersOfANodeByTheirNames) {
    add_group(schema_.get(), NODE, 7,
              {"load avg", "nic5_0:1:rx", "nic5_0:2:x", "nic5_0:temp", "nic6_0:2:a=1",
               "nic6_0:1:rx", "nic6_0:", "xnic5_0:1:y"});
    add_group(schema_.get(), PACKAGE, 3, {"p", "q"});
    add_group(schema_.get(), NODE, 1, {"nic5_0:1:tx"});
    const std::string free_place = hca_bytes("", "");
    const std::string guids = "node_guid=0x1111111111111111,system_image_guid=0x2222222222222222";
    EXPECT_EQ(
        lines_of(free_place + hca_bytes("nic5_0", "123") + free_place + hca_bytes("nic6_0", "4567"),
                 {{"node_guid", "global"}, {"a b", "c"}}),
        (Lines{"node_counters,a\\ b=c," + guids +
                   " load\\ avg=0i,nic5_0:2:x=2i,nic6_0:=6i,xnic5_0:1:y=7i 1700000000123",
               "hca_port_counters,a\\ b=c,hca_name=nic5_0,node_guid=0x1111111111111111,"
               "port_guid=0x3333333333333333,port_num=1 rx=1i,tx=14i 1700000000123",
               "hca_port_counters,a\\ b=c,hca_name=nic6_0,node_guid=0x4444444444444444,"
               "port_guid=0x6666666666666666,port_num=1 rx=5i 1700000000123",
               "hca_port_counters,a\\ b=c,hca_name=nic6_0,node_guid=0x4444444444444444,"
               "port_guid=0x7777777777777777,port_num=2 a=1=4i 1700000000123",
               "hca_counters,a\\ b=c,hca_name=nic5_0," + guids + " temp=3i 1700000000123"}));
}

TEST_F(InfluxRecords, GiveEachCpuItsOwnLine) {
    add_group(schema_.get(), NODE, 1, {"nic:x"});
    add_group(schema_.get(), CPU, 2, {"user", "nic:idle"});
    // Sets beyond those of the first group have no line, but take their slots.
    add_group(schema_.get(), CPU, 3, {"temp"});
    add_group(schema_.get(), NODE, 1, {"last"});
    const std::string none = "node_guid=,system_image_guid= ";
    EXPECT_EQ(
        lines_of("", {}),
        (Lines{"node_counters," + none + "nic:x=0i,last=8i 1700000000123",
               "cpu_counters,cpu_num=0," + none + "user=1i,nic:idle=2i,temp=5i 1700000000123",
               "cpu_counters,cpu_num=1," + none + "user=3i,nic:idle=4i,temp=6i 1700000000123"}));
}

TEST_F(InfluxRecords, AreMadeForAllThatCanBeMeasured) {
    add_group(schema_.get(), PACKAGE, 2, {});
    add_group(schema_.get(), CPU, 1, {});
    add_group(schema_.get(), NODE, 1, {"nic_of_20_characters:x", "b:x"});
    EXPECT_EQ(lines_of(hca_bytes("nic_of_20_characters", "1") + hca_bytes("b", "1234"), {}),
              (Lines{"node_counters,node_guid=0x1111111111111111,system_image_guid=0x b:x=1i "
                     "1700000000123",
                     "hca_counters,hca_name=nic_of_20_characters,node_guid=0x1111111111111111,"
                     "system_image_guid=0x x=0i 1700000000123"}));
    EXPECT_EQ(all_,
              "node_counters[] cpu_counters[] hca_port_counters[nic_of_20_characters:1:] "
              "hca_port_counters[b:1:] hca_port_counters[b:2:] "
              "hca_counters[nic_of_20_characters:] hca_counters[b:] ");
}

// Lines of a group and lines of a row look for a counter in different places.
TEST_F(InfluxRecords, CountSlotsOnButLinesOfAGroupStartAtTheRow) {
    const auto block = exact_bytes(counters_block({10, 11, 12}));
    add_group(schema_.get(), NODE, 1, {"a", "b"});
    const auto *second = add_group(schema_.get(), NODE, 1, {"c"});
    const data::InfluxSerializer serializer;
    const auto records = serializer.counters_records(
        {}, load_le<vrn_data_page_t>(page_bytes("").data()), schema_.get());
    EXPECT_EQ(serializer.counters_record_line(records.at(0), block),
              "node_counters,node_guid=,system_image_guid= a=10i,b=11i,c=12i 1700000000123");
    EXPECT_EQ(serializer.group_lines({}, second, block), Lines{"g c=10i 1700000000123"});
}

TEST_F(InfluxRecords, OfAGroupHaveALineForEachSet) {
    const auto block = exact_bytes(counters_block({10, 11, 12, 13}));
    const auto lines = [&](std::uint32_t granularity, std::uint32_t sets,
                           const std::vector<const char *> &names) {
        const auto *group = add_group(schema_.get(), granularity, sets, names);
        return data::InfluxSerializer().group_lines({{"host", "h"}}, group, block);
    };
    EXPECT_EQ(lines(NODE, 1, {"a b", "c"}), Lines{R"(g,host=h a\ b=10i,c=11i 1700000000123)"});
    EXPECT_EQ(lines(CPU, 2, {"x", "y"}), (Lines{"g,CPU=0,host=h x=10i,y=11i 1700000000123",
                                                "g,CPU=1,host=h x=12i,y=13i 1700000000123"}));
    EXPECT_EQ(lines(NODE, 2, {}), Lines{});
    EXPECT_EQ(lines(NODE, 0, {"x"}), Lines{});
}

}  // namespace
}  // namespace vrn::test
