#include "support/export_samples.h"
#include "support/exported_file.h"
#include "support/sample_files.h"
#include "support/stream_blocks.h"
#include "support/test.h"

namespace vrn::exporter {
namespace {

using test::Lines;

constexpr std::size_t chunk_size = 384;

class Ndjson : public testing::Test {
  protected:
    Ndjson() { test::write_sample_schemas(dir_); }

    test::ExportedFile run(const std::string &bytes, const FormatOptions &options = {}) {
        return test::export_file(bytes, dir_, options);
    }

    test::TempDir dir_;
};

// Chunks of events, counters, two pages, counters and metrics.
std::string sample_file() {
    return test::ByteBuilder()
        .text(test::sample_data_file())
        .pad_to(256 + 4 * chunk_size)
        .text(test::sample_stream().build())
        .done();
}

const std::string move_values =
    R"("name":"eth0","track":[{"x":1,"y":2},{"x":3,"y":4}],"load":0.5,"guid":7})"
    "\n";

std::string events(const std::string &origin) {
    const auto of = [&](const std::string &type, const std::string &rest) {
        return "{\"type\":\"" + type + "\"," + origin + rest;
    };
    return of("move", R"("time":1000,"timestamp":1000,)" + move_values) +
           of("move", R"("time":1001,"timestamp":1001,)" + move_values) +
           of("point", "\"time\":1000,\"x\":0,\"y\":0}\n") +
           of("point", "\"time\":1000,\"x\":1,\"y\":1}\n");
}

std::string counters(const std::string &origin) {
    return R"({"type":"g",)" + origin +
           R"("time":1700000000000000,"a":5,"f":1.25,"s":"text",)"
           R"("u":"01000000-0000-0000-0200-000000000000"})"
           "\n";
}

TEST_F(Ndjson, WritesEachKindOfRecord) {
    const std::string header = R"("source":"node1","tag":"",)",
                      page = R"("source":"abc","tag":"x",)";
    const std::string metrics =
        R"({"type":"metrics","source":"node1","tag":"","time":1000,"metric":"busy","kind":"counter","value":7,"labels":{"host":"n1","cpu":"cpu0","mode":"user"}}
{"type":"metrics","source":"node1","tag":"","time":1000,"metric":"idle","kind":"counter","value":9,"labels":{"host":"n1","cpu":"cpu0","mode":"user"}}
{"type":"metrics","source":"node1","tag":"","time":2000,"metric":"idle","kind":"gauge","value":5.4e-323,"labels":{"host":"n1","cpu":"cpu0","mode":"nice"}}
{"type":"metrics","source":"node1","tag":"","time":3000,"metric":"busy","kind":"counter","value":13,"labels":{"host":"n1"}}
)";
    test::ExportedFile file = run(sample_file());
    EXPECT_EQ(file.text(), events(header) + counters(header) + events(page) + counters(page) +
                               counters(page) + counters(header) + metrics);
    EXPECT_EQ(file.faults, Lines{});
    EXPECT_EQ(file.counts.events, 8U);
    EXPECT_EQ(file.counts.counters, 4U);
    EXPECT_EQ(file.counts.samples, 4U);
}

TEST(NdjsonValues, KeepsOddOnes) {
    const test::TempDir dir;
    test::write_odd_schemas(dir);
    const double infinity = std::numeric_limits<double>::infinity();
    test::ExportedFile file = test::export_file(
        test::odd_file(
            {{.name = "a b"},
             {.time = 0, .user = ~std::uint64_t{0}, .f = -0.0F, .d = infinity, .name = ""},
             {.time = std::uint64_t{1} << 63, .name = "x\"\\\n,\xc3\xa4\xff"}}),
        dir, FormatOptions{});
    EXPECT_EQ(
        file.text(),
        R"({"type":"cpu load","source":"node1","tag":"","time":1000,"timestamp":1000,"time_":77,"user":1,"a b":-5,"a/b":1,"a\\b":2,"tag_":1,"guid":200,"f":0.5,"d":0.25,"name":"a b","cpu":3}
{"type":"cpu load","source":"node1","tag":"","time":0,"timestamp":0,"time_":77,"user":18446744073709551615,"a b":-5,"a/b":1,"a\\b":2,"tag_":1,"guid":200,"f":-0.0,"d":null,"name":"","cpu":3}
{"type":"cpu load","source":"node1","tag":"","time":9223372036854775808,"timestamp":9223372036854775808,"time_":77,"user":1,"a b":-5,"a/b":1,"a\\b":2,"tag_":1,"guid":200,"f":0.5,"d":0.25,"name":"x\"\\\u000a,ä�","cpu":3}
{"type":"bare","source":"node1","tag":"","time":1000,"timestamp":1000}
{"type":"port","source":"node1","tag":"","time":2000,"rx.bytes":5,"rx_bytes":18446744073709551615,"errors_total":-1,"mask":"0x00000000000000ff","wide":18446744073709551617}
{"type":"histograms","source":"node1","tag":"","time":5000,"metric":"lat","sum":6.5,"count":4,"buckets":[{"le":0.5,"count":1},{"le":0.5,"count":2},{"le":1e+06,"count":3},{"le":null,"count":4}],"labels":{"le":"1","a b":"x,y","a\\b":"\"q\"\\","a/b":"tab\tline\nend","source":"�ä","empty":""}}
{"type":"histograms","source":"node1","tag":"","time":9223372036854775808,"metric":"","sum":null,"count":1,"buckets":[{"le":null,"count":9},{"le":2,"count":1}],"labels":{}}
{"type":"metrics","source":"node1","tag":"","time":3000,"metric":"busy","kind":"counter","value":7,"labels":{"le":"1","a b":"x,y","a\\b":"\"q\"\\","a/b":"tab\tline\nend","source":"�ä","empty":""}}
{"type":"metrics","source":"node1","tag":"","time":3000,"metric":"9.lat_count","kind":"counter","value":18446744073709551615,"labels":{"le":"1","a b":"x,y","a\\b":"\"q\"\\","a/b":"tab\tline\nend","source":"�ä","empty":""}}
{"type":"metrics","source":"node1","tag":"","time":4000,"metric":"busy","kind":"gauge","value":null,"labels":{}}
{"type":"metrics","source":"node1","tag":"","time":4000,"metric":"9.lat_count","kind":"gauge","value":1.5,"labels":{}}
)");
    EXPECT_EQ(file.counts.histograms, 2U);
    EXPECT_EQ(file.counts.dropped_values, 5U);
    EXPECT_EQ(file.faults, Lines{});
}

}  // namespace
}  // namespace vrn::exporter
