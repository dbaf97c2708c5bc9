#include "bench_data.h"

#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <vector>

#include "data/block.h"
#include "data/data_file_header.h"
#include "data/magic.h"
#include "data/page_encoder.h"
#include "metrics/cntx_builder.h"
#include "utils/c_ptr.h"

namespace vrn::bench {
namespace {

constexpr char events_id[] = "0123456789abcdef0123456789abcdef";
constexpr char counters_id[] = "fedcba9876543210fedcba9876543210";
constexpr std::uint32_t page_chunk_size = 131072;  // takes any page of 64 KiB
constexpr std::uint32_t counters_block_size = sizeof(vrn_data_block_t) + counters_per_row * 8;
constexpr std::uint64_t first_time = 1'700'000'000'000'000;

struct FieldText {
    const char *name, *type;
    int length, size;
};

constexpr FieldText row_fields[] = {
    {"timestamp", "timestamp", 1, 8}, {"node_guid", "uint64_t", 1, 8},
    {"port", "uint8_t", 1, 1},        {"lid", "uint16_t", 1, 2},
    {"name", "char", 40, 1},          {"state", "uint32_t", 1, 4},
    {"speed", "uint32_t", 1, 4},      {"rx_bytes", "uint64_t", 1, 8},
    {"tx_bytes", "uint64_t", 1, 8},   {"rx_packets", "uint64_t", 1, 8},
    {"tx_packets", "uint64_t", 1, 8}, {"errors", "uint32_t", 1, 4},
    {"temperature", "float", 1, 4},   {"utilization", "double", 1, 8},
};

std::string event_schema() {
    std::string text =
        R"({"vrn_version":"1.5.0","provider_name":"bench","provider_version":"1.0.0",)"
        R"("types":[{"name":"port_sample","size":115,"fields":[)";
    int offset = 0;
    for (const FieldText &field : row_fields) {
        if (offset > 0) text += ',';
        text += std::string(R"({"field_name":")") + field.name + R"(","description":"",)" +
                R"("type_name":")" + field.type + R"(","counting_mode":"ABSOLUTE",)" +
                R"("array_length":)" + std::to_string(field.length) + R"(,"offset":)" +
                std::to_string(offset) + R"(,"type_size":)" + std::to_string(field.size) + "}";
        offset += field.length * field.size;
    }
    return text + "]}]}";
}

std::string counters_schema() {
    std::string text =
        R"({"version":"1.5.0","counter_groups":[{"granularity":"NODE","name":"bench","provider":"bench",)"
        R"("num_counter_sets":1,"num_counters":200,"counters":[)";
    for (std::uint32_t i = 0; i < counters_per_row; ++i) {
        if (i > 0) text += ',';
        text += R"({"name":"port_counter_)" + std::to_string(i) +
                R"(","description":"","units":"","data_type":"UINT64",)"
                R"("counting_type":"RUNNING_SUM","length":8})";
    }
    return text + "]}]}";
}

// Two labels for each counter.
std::string metadata() {
    std::string text =
        R"({"metadata_content":{"counters":{"name_match_labels":[{"matches_and_labels":[)";
    for (std::uint32_t i = 0; i < counters_per_row; ++i) {
        if (i > 0) text += ',';
        text += R"({"pattern_match":["port_counter_)" + std::to_string(i) +
                R"("],"labels":{"unit":"packets","port":")" + std::to_string(i % 64) + R"("}})";
    }
    return text + "]}]}}}";
}

std::ofstream create(const std::string &path) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file) throw std::runtime_error("cannot write " + path);
    return file;
}

vrn_data_file_header_t make_header(std::uint32_t block_size) {
    const vrn_data_file_header_ptr header(vrn_data_file_header_create());
    if (!header) throw std::bad_alloc();
    std::strcpy(header->source_id, "bench");
    header->first_timestamp = first_time;
    header->block_size = block_size;
    return *header;
}

void write_record(std::ofstream &file, const void *bytes, std::size_t size) {
    file.write(static_cast<const char *>(bytes), static_cast<std::streamsize>(size));
}

BenchRow make_row(std::mt19937_64 &random, std::uint64_t number) {
    BenchRow row{};
    row.timestamp = first_time + number * 1000;
    row.node_guid = 0x248a070300000000 + number % 4096;
    row.port = static_cast<std::uint8_t>(number % 64 + 1);
    row.lid = static_cast<std::uint16_t>(random());
    const std::string name =
        "switch-" + std::to_string(number % 4096) + "/port-" + std::to_string(row.port) + "/rack";
    std::memcpy(row.name, name.data(), std::min(name.size(), sizeof row.name));
    row.state = static_cast<std::uint32_t>(number % 5);
    row.speed = 200'000;
    row.rx_bytes = random() >> 12;
    row.tx_bytes = random() >> 12;
    row.rx_packets = random() >> 24;
    row.tx_packets = random() >> 24;
    row.errors = static_cast<std::uint32_t>(random() % 100);
    row.temperature = static_cast<float>(random() % 1000) / 10.0F;
    row.utilization = static_cast<double>(random() % 100000) / 1000.0;
    return row;
}

void write_events(const std::string &path, std::uint32_t rows) {
    std::ofstream file = create(path);
    vrn_data_file_header_t header = make_header(chunk_size);
    static_cast<void>(vrn_schema_id_from_hex(events_id, &header.event_schema_ids[0]));
    write_record(file, &header, sizeof header);

    std::mt19937_64 random(1);
    std::string chunk;
    for (std::uint64_t number = 0; number < rows;) {
        const std::size_t room = chunk_size - chunk.size();
        const std::size_t fits = room > sizeof(vrn_event_header_t)
                                     ? (room - sizeof(vrn_event_header_t)) / sizeof(BenchRow)
                                     : 0;
        const auto count = std::min<std::uint64_t>({fits, 255, rows - number});
        if (count == 0) {
            chunk.resize(chunk_size, '\0');
            write_record(file, chunk.data(), chunk.size());
            chunk.clear();
            continue;
        }
        vrn_event_header_t block{};
        vrn_magic_set(block.magic, VRN_MAGIC_EVENTS);
        block.timestamp = first_time + number * 1000;
        block.num_events = static_cast<std::uint8_t>(count);
        chunk.append(reinterpret_cast<const char *>(&block), sizeof block);
        for (std::uint64_t i = 0; i < count; ++i, ++number) {
            const BenchRow row = make_row(random, number);
            chunk.append(reinterpret_cast<const char *>(&row), sizeof row);
        }
    }
    write_record(file, chunk.data(), chunk.size());
}

void write_counters(const std::string &path, std::uint32_t rows) {
    std::ofstream file = create(path);
    vrn_data_file_header_t header = make_header(counters_block_size);
    static_cast<void>(vrn_schema_id_from_hex(counters_id, &header.counters_schema_id));
    write_record(file, &header, sizeof header);

    std::mt19937_64 random(2);
    std::vector<std::uint64_t> values(counters_per_row);
    for (std::uint32_t row = 0; row < rows; ++row) {
        vrn_data_block_t block{};
        vrn_data_block_init(&block);
        block.timestamp = first_time + row * 1'000'000ULL;
        for (std::uint64_t &value : values) {
            value += random() % 100'000'000;
            // In a page, the letter of a counters block at the end of a 4-byte word begins one.
            if ((value >> 24 & 0xff) == 'D') value += 1 << 24;
        }
        write_record(file, &block, sizeof block);
        write_record(file, values.data(), values.size() * sizeof values[0]);
    }
}

std::string read_whole(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The blocks of `from`, `payload_size` bytes a page, as many pages a chunk as fit.
void write_pages(const std::string &from, const std::string &to, vrn_page_encoding_t encoding,
                 std::size_t payload_size) {
    const std::string all = read_whole(from);
    std::ofstream file = create(to);
    vrn_data_file_header_t header;
    std::memcpy(&header, all.data(), sizeof header);
    header.block_size = page_chunk_size;
    write_record(file, &header, sizeof header);

    const vrn_page_info_t info = {vrn_source_t{}, first_time, first_time, encoding};
    std::string chunk;
    for (std::size_t at = sizeof header; at < all.size(); at += payload_size) {
        std::size_t size = 0;
        const CPtr<void, std::free> block(vrn_compressed_page_encode(
            &info, &all[at], std::min(payload_size, all.size() - at), &size));
        if (!block) throw std::bad_alloc();
        if (chunk.size() + size > page_chunk_size) {
            chunk.resize(page_chunk_size, '\0');
            write_record(file, chunk.data(), chunk.size());
            chunk.clear();
        }
        chunk.append(static_cast<const char *>(block.get()), size);
    }
    write_record(file, chunk.data(), chunk.size());
}

void write_gzip(const std::string &from, const std::string &to) {
    const std::string all = read_whole(from);
    const gzFile file = gzopen(to.c_str(), "wb");
    const bool done = file && gzwrite(file, all.data(), static_cast<unsigned>(all.size())) > 0;
    if (!file || gzclose(file) != Z_OK || !done) throw std::runtime_error("cannot write " + to);
}

void write_compressed(const std::string &stem, std::size_t payload_size) {
    write_gzip(stem + ".bin", stem + ".bin.gz");
    write_pages(stem + ".bin", stem + ".gzip.bin", VRN_ENCODING_GZIP, payload_size);
    write_pages(stem + ".bin", stem + ".snappy.bin", VRN_ENCODING_SNAPPY, payload_size);
}

// The records of one block differ in their labels, the blocks in times and values.
void write_metrics(const std::string &path) {
    constexpr int records = 50;
    constexpr int samples = 8;
    constexpr std::uint32_t room = 8192;
    metrics::CntxBuilder builder;
    builder.add_constant_label("host", "bench");
    const std::uint8_t set = builder.add_label_set({"interface", "direction"});
    std::ofstream file = create(path);
    const vrn_data_file_header_t header = make_header(room);
    write_record(file, &header, sizeof header);
    std::mt19937_64 random(4);
    for (std::uint32_t number = 0; number < metrics_blocks; ++number) {
        builder.clear_records();
        for (int i = 0; i < records; ++i) {
            metrics::CntxRecord record{.timestamp = first_time + number * 1'000'000ULL,
                                       .label_set_id = set};
            record.labels = {metrics::CntxBuilder::label_by_text("port-" + std::to_string(i)),
                             builder.label_by_id(i % 2 == 0 ? "rx" : "tx")};
            for (int j = 0; j < samples; ++j)
                record.samples.push_back(
                    {builder.add_metric("port_metric_" + std::to_string(j)), random() >> 20});
            builder.add_record(record);
        }
        std::string chunk = builder.build();
        if (chunk.size() > room) throw std::runtime_error("a metrics block exceeds its chunk");
        chunk.resize(room, '\0');
        write_record(file, chunk.data(), chunk.size());
    }
}

}  // namespace

void write_bench_data(const std::string &folder, const BenchSizes &sizes) {
    std::filesystem::create_directories(folder + "/schema");
    create(folder + "/schema/schema_" + events_id + ".json") << event_schema();
    create(folder + "/schema/schema_" + counters_id + ".json") << counters_schema();
    create(folder + "/schema/metadata_bench.json") << metadata();
    write_events(folder + "/events.bin", sizes.event_rows);
    write_counters(folder + "/counters.bin", sizes.counter_rows);
    write_metrics(folder + "/metrics.bin");
    constexpr std::size_t rows_per_page = 40;
    write_compressed(folder + "/events", chunk_size);
    write_compressed(folder + "/counters", rows_per_page * counters_block_size);
}

std::string first_events(const std::string &folder, std::uint8_t rows) {
    const std::size_t size =
        sizeof(vrn_data_file_header_t) + sizeof(vrn_event_header_t) + rows * sizeof(BenchRow);
    std::string bytes = read_whole(folder + "/events.bin").substr(0, size);
    bytes.at(sizeof(vrn_data_file_header_t) + offsetof(vrn_event_header_t, num_events)) =
        static_cast<char>(rows);
    return bytes;
}

void write_copies(const std::string &bytes, const std::string &to, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::string place = to + "/" + std::to_string(i / 1000);
        if (i % 1000 == 0) std::filesystem::create_directories(place);
        create(place + "/" + std::to_string(i) + ".bin") << bytes;
    }
}

}  // namespace vrn::bench
