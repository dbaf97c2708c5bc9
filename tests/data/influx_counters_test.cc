#include <gtest/gtest.h>

#include "data/influx_fixtures.h"
#include "data/influx_serializer.h"

namespace vrn::test {
namespace {

using Lines = std::vector<std::string>;

TEST(InfluxCounters, ShowsValuesByTypeAndFormat) {
    const std::string one = ByteBuilder().u64(1).done();
    const std::string minus_one(8, '\xff');
    const std::string half = ByteBuilder().f64(0.5).done();
    std::string wide;
    for (char c = 0; c < 16; ++c) wide += c;
    constexpr std::uint32_t unknown = 0xFFFFFFFF;
    const struct {
        TestCounter counter;
        std::string data;
        const char *text;
    } cases[] = {
        {{"BIT64 default", VRN_DATA_BIT64, VRN_STRING_DEFAULT}, one, "\"0x0000000000000001\""},
        {{"BIT64 decimal", VRN_DATA_BIT64, VRN_STRING_DECIMAL}, one, "1i"},
        {{"BIT64 hex", VRN_DATA_BIT64, VRN_STRING_HEXADECIMAL}, one, "\"0x0000000000000001\""},
        {{"guid", VRN_DATA_UINT64, VRN_STRING_DEFAULT}, minus_one, "18446744073709551615i"},
        {{"UINT64 decimal", VRN_DATA_UINT64, VRN_STRING_DECIMAL}, one, "1i"},
        {{"UINT64 hex", VRN_DATA_UINT64, VRN_STRING_HEXADECIMAL}, one, "\"0x0000000000000001\""},
        {{"UINT64 unknown format", VRN_DATA_UINT64, unknown}, one, "\"1\""},
        {{"INT64 default", VRN_DATA_INT64, VRN_STRING_DEFAULT}, minus_one, "-1i"},
        {{"INT64 decimal", VRN_DATA_INT64, VRN_STRING_DECIMAL}, minus_one, "-1i"},
        {{"INT64 unknown format", VRN_DATA_INT64, unknown}, minus_one, "\"-1\""},
        {{"INT64 hex", VRN_DATA_INT64, VRN_STRING_HEXADECIMAL},
         minus_one,
         "\"0xffffffffffffffff\""},
        {{"Undefined", VRN_DATA_UNDEFINED, VRN_STRING_DEFAULT}, minus_one, "-1i"},
        {{"unknown type", unknown, VRN_STRING_HEXADECIMAL}, one, "\"0x0000000000000001\""},
        {{"FP64 default", VRN_DATA_FP64, VRN_STRING_DEFAULT}, half, "0.500000"},
        {{"FP64 decimal", VRN_DATA_FP64, VRN_STRING_DECIMAL}, half, "0.500000"},
        {{"FP64 hex", VRN_DATA_FP64, VRN_STRING_HEXADECIMAL}, half, "\"0x3fe0000000000000\""},
        {{"UINT128", VRN_DATA_UINT128, VRN_STRING_DEFAULT},
         wide,
         "\"000102030405060708090a0b0c0d0e0f\""},
        {{"INT128 uuid", VRN_DATA_INT128, VRN_STRING_UUID},
         wide,
         "\"00010203-0405-0607-0809-0a0b0c0d0e0f\""},
        {{"STRING of 4", VRN_DATA_STRING, VRN_STRING_DEFAULT, 4}, "a b\"cd", "a b\""},
        {{"short STRING", VRN_DATA_STRING, VRN_STRING_HEXADECIMAL, 8},
         std::string("ab\0c", 4),
         "ab"},
        {{"STRING without a length", VRN_DATA_STRING}, std::string("a,b\0c", 5), "a,b"},
        // Behind the bytes at hand all is zero.
        {{"cut UINT64", VRN_DATA_UINT64}, "\x01\x02", "513i"},
        {{"absent UINT64", VRN_DATA_UINT64}, "", "0i"},
        {{"cut UINT128", VRN_DATA_UINT128, VRN_STRING_HEXADECIMAL},
         "\x01",
         "\"0x01000000000000000000000000000000\""},
        {{"open STRING", VRN_DATA_STRING}, "abc", "abc"},
    };
    const data::InfluxSerializer serializer;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.counter.name);
        std::string name;
        const vrn_counter_info_t counter = make_counter(c.counter, &name);
        const std::vector<std::uint8_t> exact(c.data.begin(), c.data.end());
        EXPECT_EQ(serializer.counter_value_text(exact, &counter), c.text);
    }
}

// Two adapters, the second with two ports; a free place stands before and between them.
const std::string two_hcas = hca_bytes("", "    ") + hca_bytes("nic5_0", "123 ") +
                             hca_bytes("", "    ") + hca_bytes("nic6_0", "4567");

std::vector<vrn_influx_line_record_t> records_of(const vrn_counters_schema_t *schema,
                                                 const std::string &hcas, const data::Tags &tags) {
    const auto page = load_le<vrn_data_page_t>(page_bytes({.area = "", .hcas = hcas}).data());
    return data::InfluxSerializer().counters_records(tags, page, schema);
}

// Lines of the records that have fields, each value showing its slot.
Lines lines_of(const vrn_counters_schema_t *schema, const std::string &hcas,
               const data::Tags &tags) {
    std::vector<std::uint64_t> slots(64);
    for (std::size_t i = 0; i < slots.size(); ++i) slots[i] = i;
    const std::string block = counters_block(slots);
    Lines lines;
    for (const auto &record : records_of(schema, hcas, tags))
        if (!record.fields.empty())
            lines.push_back(data::InfluxSerializer().counters_record_line(record, as_bytes(block)));
    return lines;
}

TEST(InfluxCounters, SortsTheCountersOfANodeByTheirNames) {
    const vrn_counters_schema_ptr schema(vrn_counters_schema_create());
    add_group(schema.get(), make_group("a", VRN_GRANULARITY_NODE, 7,
                                       {{"load avg"},
                                        {"nic5_0:1:rx_bytes"},
                                        {"nic5_0:2:x"},
                                        {"nic5_0:temp"},
                                        {"nic6_0:2:rx=1"},
                                        {"nic6_0:1:rx"},
                                        {"nic6_0:"},
                                        {"xnic5_0:1:y"}}));
    add_group(schema.get(), make_group("b", VRN_GRANULARITY_PACKAGE, 3, {{"p"}, {"q"}}));
    add_group(schema.get(), make_group("c", VRN_GRANULARITY_NODE, 1, {{"nic5_0:1:tx"}}));

    const std::string node = "node_guid=0x1111111111111111,system_image_guid=0x2222222222222222";
    EXPECT_EQ(lines_of(schema.get(), two_hcas, {{"node_guid", "global"}, {"a b", "c"}}),
              (Lines{"node_counters,a\\ b=c," + node +
                         " load\\ avg=0i,nic5_0:2:x=2i,nic6_0:=6i,xnic5_0:1:y=7i 1700000000123",
                     "hca_port_counters,a\\ b=c,hca_name=nic5_0,node_guid=0x1111111111111111,"
                     "port_guid=0x3333333333333333,port_num=1 rx_bytes=1i,tx=14i 1700000000123",
                     "hca_port_counters,a\\ b=c,hca_name=nic6_0,node_guid=0x4444444444444444,"
                     "port_guid=0x6666666666666666,port_num=1 rx=5i 1700000000123",
                     "hca_port_counters,a\\ b=c,hca_name=nic6_0,node_guid=0x4444444444444444,"
                     "port_guid=0x7777777777777777,port_num=2 rx=1=4i 1700000000123",
                     "hca_counters,a\\ b=c,hca_name=nic5_0," + node + " temp=3i 1700000000123"}));
}

TEST(InfluxCounters, GivesEachCpuItsOwnLine) {
    const vrn_counters_schema_ptr schema(vrn_counters_schema_create());
    add_group(schema.get(), make_group("n", VRN_GRANULARITY_NODE, 1, {{"nic:x"}}));
    add_group(schema.get(), make_group("c", VRN_GRANULARITY_CPU, 2, {{"user"}, {"nic:idle"}}));
    // Sets beyond those of the first group have no line, but take their slots.
    add_group(schema.get(), make_group("d", VRN_GRANULARITY_CPU, 3, {{"temp"}}));
    add_group(schema.get(), make_group("e", VRN_GRANULARITY_NODE, 1, {{"last"}}));
    EXPECT_EQ(lines_of(schema.get(), "", {}),
              (Lines{"node_counters,node_guid=,system_image_guid= nic:x=0i,last=8i 1700000000123",
                     "cpu_counters,cpu_num=0,node_guid=,system_image_guid= "
                     "user=1i,nic:idle=2i,temp=5i 1700000000123",
                     "cpu_counters,cpu_num=1,node_guid=,system_image_guid= "
                     "user=3i,nic:idle=4i,temp=6i 1700000000123"}));
}

TEST(InfluxCounters, MakesARecordForAllThatCanBeMeasured) {
    const vrn_counters_schema_ptr schema(vrn_counters_schema_create());
    add_group(schema.get(), make_group("c", VRN_GRANULARITY_CPU, 1, {}));
    std::string records;
    for (const auto &record : records_of(schema.get(), two_hcas, {}))
        records += record.measurement + '[' + record.prefix + "] ";
    EXPECT_EQ(records,
              "node_counters[] cpu_counters[] hca_port_counters[nic5_0:1:] "
              "hca_port_counters[nic6_0:1:] hca_port_counters[nic6_0:2:] hca_counters[nic5_0:] "
              "hca_counters[nic6_0:] ");
}

TEST(InfluxCounters, ReadsFullNamesOfAdapters) {
    const vrn_counters_schema_ptr schema(vrn_counters_schema_create());
    const std::string name = "nic_of_20_characters";
    const std::string counter = name + ":x";
    add_group(schema.get(), make_group("n", VRN_GRANULARITY_NODE, 1, {{counter.c_str()}}));
    EXPECT_EQ(lines_of(schema.get(), hca_bytes(name, "1   "), {}),
              Lines{"hca_counters,hca_name=nic_of_20_characters,node_guid=0x1111111111111111,"
                    "system_image_guid=0x x=0i 1700000000123"});
}

TEST(InfluxCounters, GivesALineForEachSetOfAGroup) {
    const std::string block = counters_block({10, 11, 12, 13});
    const struct {
        const char *name;
        vrn_counter_group_ptr group;
        Lines lines;
    } cases[] = {
        {"one set",
         make_group("my group", VRN_GRANULARITY_NODE, 1, {{"a b"}, {"c", VRN_DATA_BIT64}}),
         {R"(my\ group,host=h a\ b=10i,c="0x000000000000000b" 1700000000123)"}},
        {"two sets",
         make_group("", VRN_GRANULARITY_CPU, 2, {{"x"}, {"y"}}),
         {"counters,CPU=0,host=h x=10i,y=11i 1700000000123",
          "counters,CPU=1,host=h x=12i,y=13i 1700000000123"}},
        {"no counters", make_group("g", VRN_GRANULARITY_NODE, 2, {}), {}},
        {"no sets", make_group("g", VRN_GRANULARITY_NODE, 0, {{"x"}}), {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(
            data::InfluxSerializer().group_lines({{"host", "h"}}, c.group.get(), as_bytes(block)),
            c.lines);
    }
}

}  // namespace
}  // namespace vrn::test
