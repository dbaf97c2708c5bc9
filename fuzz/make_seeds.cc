// make_seeds FOLDER: writes FOLDER/<decoder>/<seed> for each fuzzer.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "data/serial/influx_fixtures.h"
#include "metrics/cntx_builder.h"
#include "reader/sample_files.h"

namespace {

// Two schemas in a system: a composite field, an array, a text and a guid word.
constexpr char type_system_text[] = R"({"version":"1.5.0","schemas":[{"vrn_version":"1.5.0",
"provider_name":"p","provider_version":"1.0.0","types":[{"name":"in","size":12,"fields":[
{"field_name":"a","description":"","type_name":"int","counting_mode":"DELTA","offset":0,
"type_size":4,"array_length":3}]},{"name":"t","size":44,"fields":[
{"field_name":"i","description":"","type_name":"in","counting_mode":"DELTA","offset":0,
"type_size":12,"array_length":2,"index":1},{"field_name":"c","description":"","type_name":"char",
"counting_mode":"DELTA","offset":24,"type_size":1,"array_length":12},{"field_name":"guid",
"description":"","type_name":"uint64_t","counting_mode":"DELTA","offset":36,"type_size":8}]}]},
{"vrn_version":"1.5.0","provider_name":"q","provider_version":"1.0.0","types":[]}]})";
// One schema whose types don't link, with a guid word far outside of its record.
constexpr char schema_text[] = R"({"vrn_version":"1.5.0","provider_name":"p",
"provider_version":"1.0.0","types":[{"name":"t","size":4,"fields":[
{"field_name":"guid","description":"","type_name":"t","counting_mode":"DELTA","offset":99999999,
"type_size":4}]}]})";

using vrn::test::counters_block;
using vrn::test::event_block;
using vrn::test::hca_bytes;
using vrn::test::page_bytes;

using vrn::metrics::CntxBuilder;
using vrn::metrics::CntxRecord;
using vrn::metrics::LabelEncoding;

constexpr LabelEncoding encodings[] = {LabelEncoding::ids, LabelEncoding::texts,
                                       LabelEncoding::mixed};

void write(const std::filesystem::path &folder, const std::string &name, const std::string &bytes) {
    std::filesystem::create_directories(folder);
    std::ofstream file(folder / name, std::ios::binary);
    file.exceptions(std::ios::badbit | std::ios::failbit);
    file << bytes;
}

std::string block_of(LabelEncoding encoding, int records) {
    CntxBuilder builder;
    const std::uint8_t set = builder.add_label_set({"cpu", "mode"});
    const auto label = [&](const char *text) {
        return encoding == LabelEncoding::texts ? CntxBuilder::label_by_text(text)
                                                : builder.label_by_id(text);
    };
    builder.add_constant_label("host", "n1");
    CntxRecord record = {.label_set_id = set, .encoding = encoding};
    record.labels = {label("cpu0"), label("user")};
    for (int i = 0; i < records; ++i) {
        record.timestamp = 1'700'000'000'000'000 + static_cast<std::uint64_t>(i);
        record.metric_type = i % 2 ? 'G' : 'C';
        record.samples.push_back({builder.add_metric("metric" + std::to_string(i)), 42});
        builder.add_record(record);
    }
    return builder.build();
}

// A histogram, and a sample of each value type.
std::string store_block() {
    CntxBuilder builder;
    builder.add_label_set({"disk"});
    builder.add_constant_label("host", "n1");
    const vrn::metrics::EncodedLabel disk = builder.label_by_id("sda");
    vrn::metrics::Histogram histogram;
    histogram.name = "latency";
    histogram.timestamp = 1'700'000'000'000'000;
    histogram.buckets = {{0.5, 1}, {1, 2}};
    histogram.count = 3;
    builder.add_histogram(histogram, {.labels = {disk}});
    for (std::uint8_t type = 1; type <= 5; ++type)
        builder.add_record({.timestamp = 1'700'000'000'000'000,
                            .value_type = type,
                            .labels = {disk},
                            .samples = {{builder.add_metric("metric" + std::to_string(type)), 7}}});
    return builder.build();
}

// The labels of the first record, behind their offset.
std::string labels_of(const std::string &block) {
    const std::size_t record = block.find("CNTD") + 8;
    constexpr char offset = 14 + 10;
    return offset + block.substr(record);
}

void write_seeds(const std::filesystem::path &folder) {
    for (const LabelEncoding encoding : encodings) {
        const std::string name(1, static_cast<char>(encoding));
        write(folder / "labels_block", name, labels_of(block_of(encoding, 1)));
        for (const int records : {0, 1, 3}) {
            const std::string block = block_of(encoding, records);
            write(folder / "metrics_json", name + std::to_string(records), block);
            write(folder / "metrics_count", name + std::to_string(records), block + block);
            write(folder / "metrics_store", name + std::to_string(records), block);
        }
    }
    write(folder / "metrics_store", "types", store_block());
    const std::string file = vrn::test::sample_data_file();
    write(folder / "data_file", "sample", file);
    // The page walk takes the bytes behind "VRNP" of a chunk, or a payload behind an odd byte.
    constexpr std::size_t chunk = 512;
    constexpr std::size_t page_chunk = 256 + 2 * chunk;
    write(folder / "page_walk", "pages", std::string(1, '\0') + file.substr(page_chunk + 4, chunk));
    write(folder / "page_walk", "events", "\1" + file.substr(256, chunk));
    write(folder / "page_walk", "counters", "\1" + file.substr(256 + chunk, 56));
    write(folder / "influx_page", "events",
          page_bytes(event_block(0, 1, 1, std::string(55, 'a')) +
                     event_block(0, 0, 1, std::string(13, 'b'))));
    write(folder / "influx_page", "counters",
          page_bytes(counters_block(std::vector<std::uint64_t>(64, 7)), hca_bytes("nic1", "1234")));
    write(folder / "scope_file", "names", "node1  # first\nEMPTY\nab*\n*ab\n\r\n#\nALL");
    write(folder / "scope_file", "list", "SELF, a*b,,*");
    write(folder / "selection_sets", "fields",
          "# set\n[port_*, link]\nspeed\n^err\n[default]\n$\n");
    write(folder / "selection_sets", "counters", "total = ^port_rcv\n=x\na=b=c\nx=\n^y$\n");
    write(folder / "source_spec", "count", "3");
    write(folder / "source_spec", "range", "node[7-0x10]");
    write(folder / "source_spec", "fabscan", "H-0002c9 (host1 HCA-1)\nS-0003 (switch1)\n");
    write(folder / "source_spec", "text", "node1\r\n\nnode2");
    write(folder / "type_system", "system", type_system_text);
    write(folder / "type_system", "unlinked", schema_text);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_seeds FOLDER\n");
        return 2;
    }
    try {
        write_seeds(argv[1]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "make_seeds: %s\n", error.what());
        return 1;
    }
    return 0;
}
