#include "vrn_collect/collect_output.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "data/block.h"
#include "data/schema/schema_json.h"
#include "data/text/json_template.h"
#include "vrn_collect/event_records.h"
#include "vrn_collect/source_names.h"

namespace vrn::collect {
namespace {

// Pages of many blocks compress best; a reader keeps one chunk in memory.
constexpr std::uint32_t event_chunk_size = 65536;

SchemaWriter make_schema_writer(const CollectOptions &options) {
    SchemaWriter writer;
    writer.set_schema_dir(options.output_dir + "/schema");
    return writer;
}

// Stores the schema and returns the id that names its file: the digest of its compact text.
vrn_schema_id_t announce(SchemaWriter *writer, const JSON_Value *schema) {
    vrn_schema_id_t id{};
    const vrn_json_text_ptr text(json_serialize_to_string(schema));
    if (!vrn_md5_of_string(text.get(), &id)) throw std::runtime_error("cannot make a schema");
    writer->onSchema(schema);
    return id;
}

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
PageSettings make_counters_settings(const PageSettings &common, SchemaWriter *writer,
                                    const vrn_counters_schema_t *schema) {
    const auto block_size = static_cast<std::uint32_t>(sizeof(vrn_data_block_t)) + schema->size;
    PageSettings settings = make_settings(common, "counters", block_size);
    const vrn_json_value_ptr json(vrn_counters_schema_jsonify(schema));
    settings.schema_id = announce(writer, json.get());
    return settings;
}

PageSettings make_events_settings(const PageSettings &common, SchemaWriter *writer) {
    const vrn_type_system_ptr types(vrn_type_system_create());
    if (!types) throw std::bad_alloc();
    const vrn_json_value_ptr json(vrn_schema_to_json(&add_event_schema(types.get())));
    PageSettings settings = make_settings(common, "events", event_chunk_size);
    settings.head = make_schemas_block(announce(writer, json.get()));
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

bool set_limits(vrn_data_writer_t *writer, const WriterOptions &options) {
    // Before the limit of all data, which must be larger than that of one file.
    if (options.file_size && !vrn_data_writer_set_file_size_limit(writer, *options.file_size))
        return false;
    if (options.data_size && !vrn_data_writer_set_data_size_limit(writer, *options.data_size))
        return false;
    if (!options.file_age) return true;
    const std::chrono::microseconds age = *options.file_age;
    return vrn_data_writer_set_file_age_limit(writer, static_cast<std::uint64_t>(age.count()));
}

bool has_filter(const WriterOptions &options) {
    const std::string *texts[] = {&options.allowed_tags,       &options.excluded_tags,
                                  &options.allowed_scope,      &options.excluded_scope,
                                  &options.allowed_scope_file, &options.excluded_scope_file};
    return !std::ranges::all_of(texts, [](const std::string *text) { return text->empty(); });
}

bool set_filter(vrn_data_writer_t *writer, const WriterOptions &options) {
    return !has_filter(options) ||
           vrn_data_writer_set_page_filter(
               writer, options.allowed_tags.c_str(), options.excluded_tags.c_str(),
               options.allowed_scope.c_str(), options.excluded_scope.c_str(),
               options.allowed_scope_file.c_str(), options.excluded_scope_file.c_str());
}

// A writer of DIR/data under the limits, templates and filters of `options`. Throws
// std::runtime_error when they are refused.
vrn_data_writer_ptr make_data_writer(const CollectOptions &options, std::size_t num_sources) {
    const vrn_client_id_ptr client_id(vrn_client_id_create());
    if (!client_id) throw std::runtime_error("this host has no name");
    vrn_data_writer_ptr writer(vrn_data_writer_create(client_id.get()));
    if (!writer) throw std::bad_alloc();
    const WriterOptions &settings = options.writer;
    const char *path = num_sources == 1 ? "{{tag}}{{id}}.bin" : "{{source}}/{{tag}}{{id}}.bin";
    const bool done =
        vrn_data_writer_set_data_dir(writer.get(), (options.output_dir + "/data").c_str()) &&
        vrn_data_writer_set_counters_path_template(
            writer.get(), settings.counters_template.value_or(path).c_str()) &&
        vrn_data_writer_set_data_path_template(writer.get(),
                                               settings.data_template.value_or(path).c_str()) &&
        vrn_data_writer_set_keep_files_open(writer.get(), settings.keep_files_open) &&
        vrn_data_writer_set_write_nodeinfo(writer.get(), settings.write_nodeinfo) &&
        set_limits(writer.get(), settings) && set_filter(writer.get(), settings);
    if (!done) throw std::runtime_error("the options don't fit together");
    return writer;
}

}  // namespace

CollectOutput::CollectOutput(const CollectOptions &options, const ProcSample &sample)
    : encoding_(options.encoding),
      sources_(make_source_names(options.source)),
      writer_(make_data_writer(options, sources_.size())),
      schema_writer_(make_schema_writer(options)),
      counters_schema_(make_counters_schema(sample)) {
    const PageSettings common = make_common_settings(options);
    const PageSettings counters =
        make_counters_settings(common, &schema_writer_, counters_schema_.get());
    const PageSettings events = make_events_settings(common, &schema_writer_);
    const PageSettings metrics =
        make_metrics_settings(common, metrics_record_.make_block(sample).size());
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

void CollectOutput::finish() {
    for (SourceStreams &source : streams_) source.events.flush();
}

}  // namespace vrn::collect
