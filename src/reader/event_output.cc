#include "reader/event_output.h"

#include "data/selection/name_filter.h"
#include "data/serial/influx_event.h"
#include "utils/log.h"

namespace vrn::reader {

namespace {

bool is_chosen(const vrn_reader_options_t &options, const vrn_type_definition_t *type) {
    return vrn_string_array_match(type->name, options.include_counters, VRN_MATCH_WILDCARD) &&
           !vrn_string_array_match(type->name, options.exclude_counters, VRN_MATCH_WILDCARD);
}

bool print_influx(const vrn_type_definition_t *type, const void *row, const FileOutput *output) {
    const auto write = [&](TextBuffer *text) {
        if (!vrn_influx_write_event(type, row, text)) return false;
        text->append('\n');
        return true;
    };
    if (output->records.add_text(write)) return true;
    output->fail("Failed to serialize event data to Influx line API format");
    return false;
}

bool print_json(const vrn_type_definition_t &type, const void *row,
                std::optional<EventJsonWriter> *json, FileOutput *output) {
    const auto write = [&](JsonText *text) {
        if (!*json) json->emplace(type, *text);
        return (*json)->write(row);
    };
    if (output->add_record(write)) return true;
    output->fail("Failed to JSONify event values");
    return false;
}

bool print_row(const vrn_type_definition_t *type, const void *row,
               std::optional<EventJsonWriter> *json, FileOutput *output) {
    switch (output->options.format) {
        case VRN_FORMAT_JSON:
        case VRN_FORMAT_NDJSON:
            return print_json(*type, row, json, output);
        case VRN_FORMAT_CSV:
            output->fail("CSV output is not supported yet");
            return true;
        case VRN_FORMAT_TXT:
            // Deliberate: the wording stands although this is an event.
            output->fail("Text output is not yet supported for counters data");
            return true;
        case VRN_FORMAT_INFLUX:
            return print_influx(type, row, output);
        default:
            // Deliberate: bin output is made of whole pages, so a block outside of one has no form
            // in it.
            output->fail("Unknown output format %d", static_cast<int>(output->options.format));
            return false;
    }
}

}  // namespace

void EventOutput::use(const std::shared_ptr<const scan::LoadedSchemas> &schemas) {
    if (schemas_.lock() == schemas) return;
    schemas_ = schemas;
    types_.clear();
}

bool EventOutput::show(const scan::EventBatch &batch, FileOutput *output) {
    auto found = types_.find(batch.type);
    if (found == types_.end())
        found = types_.emplace(batch.type, Type{is_chosen(output->options, batch.type)}).first;
    return !found->second.is_chosen || print(batch, &found->second, output);
}

bool EventOutput::print(const scan::EventBatch &batch, Type *type, FileOutput *output) {
    for (std::size_t i = 0; i < batch.count; ++i) {
        if (!print_row(batch.type, batch.row(i), &type->json, output)) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to print");
            return false;
        }
        ++output->records_out;
    }
    return true;
}

}  // namespace vrn::reader
