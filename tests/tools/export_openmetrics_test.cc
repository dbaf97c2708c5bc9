#include <cmath>

#include "support/export_samples.h"
#include "support/exported_file.h"
#include "support/test.h"
#include "vrn_export/format/openmetrics_text.h"
#include "vrn_export/sorted_spool.h"

namespace vrn::exporter {
namespace {

TEST(OpenMetricsText, MakesNamesValid) {
    struct Case {
        std::string_view text, name, label_name, value;
    };
    const Case cases[] = {
        {"a_B9", "a_B9", "a_B9", "a_B9"},
        {"", "_", "_", ""},
        {"9", "_9", "_9", "9"},
        {"__name__", "__name__", "label__name__", "__name__"},
        {"a:b.c-d", "a_b_c_d", "a_b_c_d", "a:b.c-d"},
        {"\n\"\\\t", "____", "label____", "\\n\\\"\\\\\t"},
        {"\xc3\xa4\xff", "___", "label___", "\xc3\xa4\xef\xbf\xbd"},
    };
    for (const Case &one : cases) {
        SCOPED_TRACE(one.text);
        EXPECT_EQ(openmetrics_name(one.text), one.name);
        EXPECT_EQ(openmetrics_label_name(one.text), one.label_name);
        TextBuffer text;
        append_openmetrics_value(one.text, &text);
        EXPECT_EQ(text.view(), one.value);
    }
}

TEST(OpenMetricsText, WritesNumbers) {
    const std::pair<double, std::string_view> bounds[] = {
        {0, "0.0"},        {-2.5, "-2.5"},  {100000, "100000.0"},         {1e6, "1e+06"},
        {1e-4, "0.0001"},  {1e-5, "1e-05"}, {1234567.5, "1.2345675e+06"}, {-HUGE_VAL, "-Inf"},
        {HUGE_VAL, "+Inf"}};
    for (const auto &[bound, text] : bounds) EXPECT_EQ(openmetrics_bound(bound), text);

    TextBuffer text;
    for (const double value : {0.5, 1e300, -HUGE_VAL, std::nan("")}) {
        append_openmetrics_double(value, &text);
        text.append(' ');
    }
    for (const std::uint64_t time : {std::uint64_t{0}, std::uint64_t{1000001}, ~std::uint64_t{0}}) {
        append_openmetrics_time(time, &text);
        text.append(' ');
    }
    EXPECT_EQ(text.view(), "0.5 1e+300 -Inf NaN 0.000000 1.000001 18446744073709.551615 ");
}

class OpenMetricsFormat : public testing::Test {
  protected:
    OpenMetricsFormat() { test::write_odd_schemas(dir_); }

    std::string sorted(const std::string &bytes) {
        file_ = test::export_file(bytes, dir_, options_);
        SortedSpool spool(dir_.path(), 1 << 20);
        spool.add(file_.text());
        std::string all;
        spool.drain([&](std::string_view line) { all += line; });
        return all;
    }

    FormatOptions options_{.kind = FormatKind::openmetrics};
    test::TempDir dir_;
    test::ExportedFile file_;
};

TEST_F(OpenMetricsFormat, WritesFamiliesInOrder) {
    options_.tag_fields = {"cpu", "name"};
    const std::string labels = R"(le_="1",a_b="x,y",a_b_="\"q\"\\",a_b__="tab)"
                               "\t"
                               R"(line\nend",source_="�ä")";
    std::string expected = R"(# TYPE _ histogram
__bucket{source="node1",le="2.0"} 1 9223372036854.775808
__bucket{source="node1",le="+Inf"} 1 9223372036854.775808
__count{source="node1"} 1 9223372036854.775808
__sum{source="node1"} NaN 9223372036854.775808
# TYPE _9_lat_count gauge
_9_lat_count{source="node1",metric="9.lat_count"} 1.5 0.004000
_9_lat_count_total{source="node1",@L,metric="9.lat_count"} 18446744073709551615 0.003000
# TYPE busy gauge
busy{source="node1"} NaN 0.004000
busy_total{source="node1",@L} 7 0.003000
# TYPE cpu_load_a_b gauge
cpu_load_a_b{source="node1",type="cpu load",name="eth0",cpu="3",field="a b"} -5 0.000002
cpu_load_a_b{source="node1",type="cpu load",name="eth0",cpu="3",field="a b"} -5 0.001000
cpu_load_a_b{source="node1",type="cpu load",name="eth0",cpu="3",field="a/b"} 1 0.000002
cpu_load_a_b{source="node1",type="cpu load",name="eth0",cpu="3",field="a/b"} 1 0.001000
cpu_load_a_b{source="node1",type="cpu load",name="eth0",cpu="3",field="a\\b"} 2 0.000002
cpu_load_a_b{source="node1",type="cpu load",name="eth0",cpu="3",field="a\\b"} 2 0.001000
# TYPE cpu_load_d gauge
cpu_load_d{source="node1",type="cpu load",name="eth0",cpu="3"} 0.25 0.000002
cpu_load_d{source="node1",type="cpu load",name="eth0",cpu="3"} 0.25 0.001000
# TYPE cpu_load_f gauge
cpu_load_f{source="node1",type="cpu load",name="eth0",cpu="3"} 0.5 0.000002
cpu_load_f{source="node1",type="cpu load",name="eth0",cpu="3"} -Inf 0.001000
# TYPE cpu_load_guid gauge
cpu_load_guid{source="node1",type="cpu load",name="eth0",cpu="3"} 200 0.000002
cpu_load_guid{source="node1",type="cpu load",name="eth0",cpu="3"} 200 0.001000
# TYPE cpu_load_tag gauge
cpu_load_tag{source="node1",type="cpu load",name="eth0",cpu="3"} 1 0.000002
cpu_load_tag{source="node1",type="cpu load",name="eth0",cpu="3"} 1 0.001000
# TYPE cpu_load_time gauge
cpu_load_time{source="node1",type="cpu load",name="eth0",cpu="3"} 77 0.000002
cpu_load_time{source="node1",type="cpu load",name="eth0",cpu="3"} 77 0.001000
# TYPE cpu_load_user gauge
cpu_load_user{source="node1",type="cpu load",name="eth0",cpu="3"} 18446744073709551615 0.000002
cpu_load_user{source="node1",type="cpu load",name="eth0",cpu="3"} 1 0.001000
# TYPE lat histogram
lat_bucket{source="node1",@L,le="0.5"} 1 0.005000
lat_bucket{source="node1",@L,le="1e+06"} 3 0.005000
lat_bucket{source="node1",@L,le="+Inf"} 4 0.005000
lat_count{source="node1",@L} 4 0.005000
lat_sum{source="node1",@L} 6.5 0.005000
# TYPE port_errors counter
port_errors_total{source="node1",group="port",counter="errors_total"} -1 0.002000
# TYPE port_rx_bytes gauge
port_rx_bytes{source="node1",group="port"} 18446744073709551615 0.002000
port_rx_bytes_total{source="node1",group="port",counter="rx.bytes"} 5 0.002000
# TYPE port_wide gauge
port_wide{source="node1",group="port"} 18446744073709551617 0.002000
)";
    for (std::size_t mark = 0; (mark = expected.find("@L")) != expected.npos;)
        expected.replace(mark, 2, labels);
    EXPECT_EQ(sorted(test::odd_file({{.f = -HUGE_VALF}, {.time = 2, .user = ~std::uint64_t{0}}})),
              expected);
    EXPECT_EQ(file_.faults, test::Lines{});
    // A mask, a second bucket of a bound, one of NaN.
    EXPECT_EQ(file_.counts.dropped_values, 3U);
}

}  // namespace
}  // namespace vrn::exporter
