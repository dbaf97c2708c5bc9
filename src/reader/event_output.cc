#include "reader/event_output.h"

#include <cstring>

#include "data/selection/name_filter.h"
#include "data/serial/event_json_writer.h"
#include "data/serial/influx_event.h"
#include "utils/log.h"

namespace vrn::reader {

namespace {

bool is_chosen(const vrn_reader_options_t &options, const vrn_type_definition_t *type) {
    return vrn_string_array_match(type->name, options.include_counters, VRN_MATCH_WILDCARD) &&
           !vrn_string_array_match(type->name, options.exclude_counters, VRN_MATCH_WILDCARD);
}

bool print_json(const vrn_type_definition_t *type, const void *row, FileOutput *output) {
    const auto write = [&](JsonText *text) { return vrn_event_write_json(type, row, text); };
    if (output->add_record(write)) return true;
    output->fail("Failed to JSONify event values");
    return false;
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

bool print(const vrn_type_definition_t *type, const void *row, FileOutput *output) {
    switch (output->options.format) {
        case VRN_FORMAT_JSON:
        case VRN_FORMAT_NDJSON:
            return print_json(type, row, output);
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
    // With other schemas the same indexes mean other types.
    std::memset(choices_, 0, sizeof choices_);
}

bool EventOutput::show(const scan::EventBatch &batch, FileOutput *output) {
    // Its low byte, by which the type was found, too.
    const auto type_index = static_cast<std::uint8_t>(batch.header.type_index);
    Choice *choice = &choices_[batch.header.schema_index][type_index];
    if (*choice == Choice::unknown)
        *choice = is_chosen(output->options, batch.type) ? Choice::taken : Choice::left_out;
    if (*choice == Choice::left_out) return true;
    for (std::size_t i = 0; i < batch.count; ++i) {
        if (!print(batch.type, batch.row(i), output)) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to print");
            return false;
        }
        ++output->records_out;
    }
    return true;
}

}  // namespace vrn::reader
