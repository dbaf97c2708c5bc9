#include "vrn_collect/collect_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "common/tool_main.h"
#include "counters/counters_schema_json.h"
#include "data/block.h"
#include "data/schema/schema_json.h"
#include "vrn_collect/event_records.h"
#include "vrn_collect/run_writer.h"
#include "vrn_collect/source_names.h"

namespace vrn::collect {
namespace {

// Pages of many blocks compress best; a reader keeps one chunk in memory.
constexpr std::uint32_t event_chunk_size = 65536;

// Settings without what is a stream's own.
PageSettings make_common_settings(const CollectOptions &options) {
    PageSettings settings;
    if (options.writer.write_nodeinfo)
        vrn_hca_info_collect(settings.hca_info.data(), VRN_PAGE_HCA_INFOS);
    return settings;
}

// Settings without the name of a source.
PageSettings make_settings(PageSettings settings, const char *tag, std::uint32_t chunk_size) {
    std::strncpy(settings.source.tag, tag, sizeof settings.source.tag - 1);
    settings.chunk_size = chunk_size;
    return settings;
}

std::string make_schemas_block(const vrn_schema_id_t &id) {
    // Readers accept a schemas block only where this many bytes are left, so it takes them all.
    std::string block(VRN_SCHEMAS_BLOCK_MIN_BYTES, '\0');
    vrn_schemas_block_t header{};
    vrn_block_set_magic(&header, VRN_SCHEMAS_BLOCK);
    header.size = VRN_SCHEMAS_BLOCK_MIN_BYTES;
    header.num_schema_ids = 1;
    std::memcpy(block.data(), &header, sizeof header);
    std::memcpy(block.data() + sizeof header, &id, sizeof id);
    return block;
}

// One counters block fills one chunk.
PageSettings make_counters_settings(const PageSettings &common, SchemaFiles *schemas,
                                    const vrn_counters_schema_t *schema) {
    const auto block_size = static_cast<std::uint32_t>(sizeof(vrn_data_block_t)) + schema->size;
    PageSettings settings = make_settings(common, "counters", block_size);
    settings.schema_id = schemas->add(vrn_json_value_ptr(vrn_counters_schema_jsonify(schema)));
    return settings;
}

PageSettings make_events_settings(const PageSettings &common, SchemaFiles *schemas) {
    const vrn_type_system_ptr types(vrn_type_system_create());
    if (!types) throw std::bad_alloc();
    vrn_json_value_ptr json(vrn_schema_to_json(&add_event_schema(types.get())));
    PageSettings settings = make_settings(common, "events", event_chunk_size);
    settings.head = make_schemas_block(schemas->add(std::move(json)));
    return settings;
}

// One CNTX block fills one chunk, with room for devices that come later.
PageSettings make_metrics_settings(const PageSettings &common, std::size_t block_size) {
    return make_settings(common, "metrics", static_cast<std::uint32_t>(2 * block_size));
}

PageSettings name_source(PageSettings settings, const std::string &name) {
    std::strncpy(settings.source.source, name.c_str(), sizeof settings.source.source - 1);
    return settings;
}

std::vector<StreamPlan> plan_streams(const std::set<std::string> &sources,
                                     std::initializer_list<const PageSettings *> settings) {
    std::vector<StreamPlan> plans;
    for (const std::string &source : sources)
        for (const PageSettings *stream : settings)
            plans.push_back({source, stream->source.tag, stream->chunk_size,
                             stream == *settings.begin() ? 0U : 1U});
    return plans;
}

// False after a line, so that one source's failure leaves the others theirs.
bool flush_events(SourceStreams *source) {
    try {
        source->events.flush();
        return true;
    } catch (const std::exception &error) {
        tool::print_error("vrn_collect", error.what());
        return false;
    }
}

// Before the first page, so that no run begins that can't store any.
void make_data_folder(const std::string &path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (!error && faccessat(AT_FDCWD, path.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        error.assign(errno, std::generic_category());
    if (error) throw std::runtime_error("can't write to folder " + path + ": " + error.message());
}

}  // namespace

CollectOutput::CollectOutput(const CollectOptions &options, const ProcSample &sample)
    : encoding_(options.encoding),
      sources_(make_source_names(options)),
      schemas_(options.output_dir + "/schema"),
      counters_schema_(make_counters_schema(sample)) {
    const PageSettings common = make_common_settings(options);
    const PageSettings counters = make_counters_settings(common, &schemas_, counters_schema_.get());
    const PageSettings events = make_events_settings(common, &schemas_);
    const PageSettings metrics =
        make_metrics_settings(common, metrics_record_.make_block(sample).size());
    writer_ = make_run_writer(options, plan_streams(sources_, {&counters, &events, &metrics}));
    make_data_folder(options.output_dir + "/data");
    // Before the first data: files whose schemas are missing can't be read.
    if (!schemas_.store())
        throw std::runtime_error("can't store schemas in " + options.output_dir + "/schema");
    for (const std::string &name : sources_) add_source(name, counters, events, metrics);
}

void CollectOutput::add_source(const std::string &name, const PageSettings &counters,
                               const PageSettings &events, const PageSettings &metrics) {
    vrn_data_writer_t *writer = writer_.get();
    streams_.push_back({PageOutput(writer, name_source(counters, name)),
                        EventOutput(writer, name_source(events, name), encoding_),
                        PageOutput(writer, name_source(metrics, name))});
}

void CollectOutput::add(const ProcSample &sample) {
    static_cast<void>(schemas_.restore());  // what fails here fails in finish() too
    const std::uint64_t now = sample.timestamp;
    const std::string counters = make_counters_block(sample, *counters_schema_);
    const std::vector<std::string> events = make_event_blocks(sample);
    const std::string metrics = metrics_record_.make_block(sample);
    for (SourceStreams &source : streams_) {
        source.counters.add_block(counters, now, now);
        for (const std::string &block : events) source.events.add_block(block, now);
        source.metrics.add_block(metrics, now, now);
        // Readers take one block of a chunk of counters or metrics.
        source.counters.flush();
        source.metrics.flush();
    }
}

bool CollectOutput::finish() {
    bool is_flushed = true;
    for (SourceStreams &source : streams_) is_flushed &= flush_events(&source);
    const std::uint64_t lost_pages = vrn_data_writer_get_lost_pages(writer_.get());
    if (lost_pages != 0)
        tool::print_error("vrn_collect",
                          "pages that were not stored: " + std::to_string(lost_pages));
    // Somebody may have cleaned up the folder during the run.
    const bool has_schemas = schemas_.restore();
    if (!has_schemas) tool::print_error("vrn_collect", "not all schemas are stored");
    const bool has_infos = has_node_infos();
    if (!has_infos) tool::print_error("vrn_collect", "not all node information is stored");
    // Closes the last files and writes their headers.
    writer_.reset();
    return is_flushed && lost_pages == 0 && has_schemas && has_infos;
}

bool CollectOutput::has_node_infos() const {
    return std::ranges::all_of(writer_->nodeinfo, [](const auto &entry) {
        std::error_code ignored;
        // Folders may have gone with old data.
        return !std::filesystem::exists(entry.first, ignored) ||
               std::filesystem::exists(entry.first + "/nodeinfo.json", ignored);
    });
}

}  // namespace vrn::collect
