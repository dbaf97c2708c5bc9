// What ten times the rows, fields, counters or files cost: CPU time of whole runs of vrn_read.
//   vrn_scaling_bench [runs]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "child_run.h"
#include "data/block.h"
#include "data/data_file_header.h"
#include "data/magic.h"

namespace vrn::bench {
namespace {

constexpr char schema_id[] = "0123456789abcdef0123456789abcdef";
constexpr std::uint64_t first_time = 1'700'000'000'000'000;

// `count` numbers a row, as fields of events or as counters.
struct Shape {
    bool is_event;
    std::uint32_t count;
    std::uint32_t rows;
    std::uint32_t files;
};

std::string member(const Shape &shape, std::uint32_t i) {
    const std::string name = "number_" + std::to_string(i);
    if (!shape.is_event)
        return R"({"name":")" + name +
               R"(","description":"","units":"","data_type":"UINT64","counting_type":"ABSOLUTE",)"
               R"("length":8})";
    return R"({"field_name":")" + name +
           R"(","description":"","type_name":"uint64_t","counting_mode":"ABSOLUTE","offset":)" +
           std::to_string(i * 8) + R"(,"type_size":8})";
}

std::string schema(const Shape &shape) {
    std::string members;
    for (std::uint32_t i = 0; i < shape.count; ++i)
        members += (i > 0 ? "," : "") + member(shape, i);
    const std::string count = std::to_string(shape.count);
    if (!shape.is_event)
        return R"({"version":"1.5.0","counter_groups":[{"granularity":"NODE","name":"bench",)"
               R"("provider":"bench","num_counter_sets":1,"num_counters":)" +
               count + R"(,"counters":[)" + members + "]}]}";
    return R"({"vrn_version":"1.5.0","provider_name":"bench","provider_version":"1.0.0",)"
           R"("types":[{"name":"row","size":)" +
           std::to_string(shape.count * 8) + R"(,"fields":[)" + members + "]}]}";
}

template <typename T>
void append(std::string *bytes, const T &record) {
    bytes->append(reinterpret_cast<const char *>(&record), sizeof record);
}

// One row in a block of its own.
std::string block(const Shape &shape) {
    std::string bytes;
    if (shape.is_event) {
        vrn_event_header_t header{};
        vrn_magic_set(header.magic, VRN_MAGIC_EVENTS);
        header.timestamp = first_time;
        header.num_events = 1;
        append(&bytes, header);
    } else {
        vrn_data_block_t header{};
        vrn_data_block_init(&header);
        header.timestamp = first_time;
        append(&bytes, header);
    }
    for (std::uint64_t i = 0; i < shape.count; ++i) append(&bytes, i * 12'345'678);
    return bytes;
}

void write_files(const std::string &folder, const Shape &shape) {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder + "/schema");
    std::filesystem::create_directories(folder + "/data");
    std::ofstream(folder + "/schema/schema_" + schema_id + ".json") << schema(shape);
    const std::string row = block(shape);
    const vrn_data_file_header_ptr header(vrn_data_file_header_create());
    if (!header) throw std::bad_alloc();
    header->first_timestamp = first_time;
    header->block_size = static_cast<std::uint32_t>(row.size());
    static_cast<void>(vrn_schema_id_from_hex(
        schema_id, shape.is_event ? &header->event_schema_ids[0] : &header->counters_schema_id));
    for (std::uint32_t file = 0; file < shape.files; ++file) {
        std::ofstream stream(folder + "/data/" + std::to_string(file) + ".bin", std::ios::binary);
        stream.write(reinterpret_cast<const char *>(header.get()), sizeof *header);
        for (std::uint32_t i = 0; i < shape.rows; ++i) stream << row;
        if (!stream.flush()) throw std::runtime_error("cannot write " + folder);
    }
}

struct Cost {
    double cpu_seconds;
    std::uint64_t peak_memory;
};

// Median of the CPU times.
Cost cost_of(const std::string &folder, const Shape &shape, int runs) {
    write_files(folder, shape);
    const std::vector<std::string> command{VRN_READ_PATH, "-s", folder + "/schema", "-f",
                                           "ndjson",      "-d", folder + "/data"};
    count_output(command);
    std::vector<double> seconds;
    std::uint64_t peak_memory = 0;
    for (int i = 0; i < runs; ++i) {
        const ChildRun run = run_child(command);
        seconds.push_back(run.cpu_seconds);
        peak_memory = std::max(peak_memory, run.peak_memory);
    }
    std::ranges::sort(seconds);
    return {seconds[seconds.size() / 2], peak_memory};
}

void run(int runs) {
    const std::string folder =
        (std::filesystem::temp_directory_path() / "vrn-scaling-bench").string();
    struct Step {
        const char *name;
        Shape less, more;
    };
    const Step steps[] = {
        {"events: rows", {true, 14, 100'000, 1}, {true, 14, 1'000'000, 1}},
        {"events: fields", {true, 14, 100'000, 1}, {true, 140, 100'000, 1}},
        {"events: files", {true, 14, 100, 100}, {true, 14, 100, 1000}},
        {"counters: rows", {false, 200, 10'000, 1}, {false, 200, 100'000, 1}},
        {"counters: counters", {false, 200, 10'000, 1}, {false, 2000, 10'000, 1}},
        {"counters: files", {false, 200, 1, 100}, {false, 200, 1, 1000}},
    };
    std::puts("| ten times the      |   CPU ms |  CPU ms | ratio | peak MB |");
    std::puts("|--------------------|----------|---------|-------|---------|");
    for (const Step &step : steps) {
        const Cost less = cost_of(folder, step.less, runs);
        const Cost more = cost_of(folder, step.more, runs);
        std::printf("| %-18s | %8.1f | %7.1f | %5.2f | %7.2f |\n", step.name,
                    less.cpu_seconds * 1e3, more.cpu_seconds * 1e3,
                    more.cpu_seconds / less.cpu_seconds,
                    static_cast<double>(more.peak_memory) / 1e6);
        std::fflush(stdout);
    }
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace vrn::bench

int main(int argc, char **argv) {
    try {
        vrn::bench::run(std::max(argc > 1 ? std::atoi(argv[1]) : 5, 1));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_scaling_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
