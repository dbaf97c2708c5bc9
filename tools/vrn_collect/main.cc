// vrn_collect: samples this machine and writes data files that vrn_read reads.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "data/block.h"
#include "data/schema/schema_json.h"
#include "data/schema/type_system.h"
#include "utils/log.h"
#include "vrn_collect/collect_options.h"
#include "vrn_collect/counters_record.h"
#include "vrn_collect/data_file_output.h"
#include "vrn_collect/event_records.h"
#include "vrn_collect/metrics_record.h"

namespace vrn::collect {
namespace {

constexpr std::uint32_t event_chunk_size = 16384;
// Pages of many blocks compress best; a reader keeps one chunk in memory.
constexpr std::uint32_t page_chunk_size = 65536;

// Writes DIR/schema/schema_<id>.json with the pretty text whose digest the id is.
vrn_schema_id_t write_schema_file(const std::string &folder, const JSON_Value *schema) {
    vrn_schema_id_t id{};
    const CPtr<char, json_free_serialized_string> text(json_serialize_to_string_pretty(schema));
    if (!text || !vrn_md5_of_json(&id, schema)) throw std::runtime_error("cannot make a schema");
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&id, hex);
    const std::string path = folder + "/schema/schema_" + hex + ".json";
    std::ofstream file(path, std::ios::binary);
    file << text.get();
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
    return id;
}

vrn_data_file_header_t make_header(const char *tag, std::uint32_t block_size) {
    const vrn_data_file_header_ptr made(vrn_data_file_header_create());
    if (!made) throw std::bad_alloc();
    vrn_data_file_header_t header = *made;
    gethostname(header.source_id, sizeof header.source_id - 1);
    std::snprintf(header.source_tag, sizeof header.source_tag, "%s", tag);
    header.block_size = block_size;
    return header;
}

// One counters block fills one chunk, unless pages gather them.
DataFileOutput open_counters_file(const CollectOptions &options,
                                  const vrn_counters_schema_t *schema) {
    const CPtr<JSON_Value, json_value_free> json(vrn_counters_schema_jsonify(schema));
    const auto block_size = static_cast<std::uint32_t>(sizeof(vrn_data_block_t)) + schema->size;
    vrn_data_file_header_t header =
        make_header("counters", options.encoding ? page_chunk_size : block_size);
    header.counters_schema_id = write_schema_file(options.output_dir, json.get());
    return {options.output_dir + "/data/counters.bin", header, options.encoding};
}

DataFileOutput open_events_file(const CollectOptions &options) {
    const vrn_type_system_ptr types(vrn_type_system_create());
    if (!types) throw std::bad_alloc();
    const CPtr<JSON_Value, json_value_free> json(
        vrn_schema_to_json(&add_event_schema(types.get())));
    vrn_data_file_header_t header =
        make_header("events", options.encoding ? page_chunk_size : event_chunk_size);
    header.event_schema_ids[0] = write_schema_file(options.output_dir, json.get());
    return {options.output_dir + "/data/events.bin", header, options.encoding};
}

// One CNTX block fills one chunk, with room for devices that come later.
DataFileOutput open_metrics_file(const CollectOptions &options, std::size_t block_size) {
    const auto chunk_size = static_cast<std::uint32_t>(2 * block_size);
    return {options.output_dir + "/data/metrics.bin", make_header("metrics", chunk_size),
            std::nullopt};
}

void collect(const CollectOptions &options) {
    std::filesystem::create_directories(options.output_dir + "/data");
    std::filesystem::create_directories(options.output_dir + "/schema");
    ProcSample sample = read_proc_sample();
    const vrn_counters_schema_ptr schema = make_counters_schema(sample);
    MetricsRecord metrics;
    DataFileOutput counters_file = open_counters_file(options, schema.get());
    DataFileOutput events_file = open_events_file(options);
    DataFileOutput metrics_file = open_metrics_file(options, metrics.make_block(sample).size());

    const auto end = std::chrono::steady_clock::now() + options.duration;
    for (auto next = std::chrono::steady_clock::now(); next < end; next += options.interval) {
        std::this_thread::sleep_until(next);
        sample = read_proc_sample();
        counters_file.add_block(make_counters_block(sample, *schema), sample.timestamp);
        for (const std::string &block : make_event_blocks(sample))
            events_file.add_block(block, sample.timestamp);
        metrics_file.add_block(metrics.make_block(sample), sample.timestamp);
        metrics_file.end_chunk();
    }
    counters_file.close();
    events_file.close();
    metrics_file.close();
}

}  // namespace
}  // namespace vrn::collect

int main(int argc, char **argv) {
    vrn_init_stderr_logger(VRN_LOG_INFO);
    // Schema texts are written as vrn_read prints its JSON: '/' stays as it is.
    json_set_escape_slashes(0);
    const vrn::collect::CollectOptions options = vrn::collect::parse_collect_options(argc, argv);
    try {
        vrn::collect::collect(options);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_collect: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
