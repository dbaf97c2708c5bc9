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

namespace vrn::collect {
namespace {

constexpr std::uint32_t event_chunk_size = 16384;

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

void collect(const CollectOptions &options) {
    std::filesystem::create_directories(options.output_dir + "/schema");
    ProcSample sample = read_proc_sample();

    const vrn_counters_schema_ptr counters = make_counters_schema(sample);
    const CPtr<JSON_Value, json_value_free> counters_json(
        vrn_counters_schema_jsonify(counters.get()));
    // One counters block fills one chunk.
    vrn_data_file_header_t counters_header = make_header(
        "counters", static_cast<std::uint32_t>(sizeof(vrn_data_block_t)) + counters->size);
    counters_header.counters_schema_id = write_schema_file(options.output_dir, counters_json.get());
    DataFileOutput counters_file(options.output_dir + "/counters.bin", counters_header);

    const vrn_type_system_ptr types(vrn_type_system_create());
    if (!types) throw std::bad_alloc();
    const vrn_schema_t &events = add_event_schema(types.get());
    const CPtr<JSON_Value, json_value_free> events_json(vrn_schema_to_json(&events));
    vrn_data_file_header_t events_header = make_header("events", event_chunk_size);
    events_header.event_schema_ids[0] = write_schema_file(options.output_dir, events_json.get());
    DataFileOutput events_file(options.output_dir + "/events.bin", events_header);

    const auto end = std::chrono::steady_clock::now() + options.duration;
    for (auto next = std::chrono::steady_clock::now(); next < end; next += options.interval) {
        std::this_thread::sleep_until(next);
        sample = read_proc_sample();
        counters_file.add_block(make_counters_block(sample, *counters), sample.timestamp);
        for (const std::string &block : make_event_blocks(sample))
            events_file.add_block(block, sample.timestamp);
    }
    counters_file.close();
    events_file.close();
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
