#include "reader/counters_output.h"

#include <cstdio>

#include "utils/log.h"

namespace vrn::reader {

void CountersOutput::use_schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) {
    // A weak pointer: a kept one would hold the schemas past their time to end.
    if (schemas_.lock() == schemas) return;
    schemas_ = schemas;
    json_.reset();
    table_.reset();
}

void CountersOutput::use_metadata(const vrn_metadata_t *metadata) {
    // Labels are part of what is prepared for a schema.
    if (metadata_ || metadata) json_.reset();
    metadata_ = metadata;
}

bool CountersOutput::show(const scan::CountersBlock &block, FileOutput *output) {
    const vrn_reader_options_t &options = output->options;
    // Deliberate: the help says greater and less.
    // Both bounds are included.
    if (block.header.timestamp < options.timestamp_gt ||
        block.header.timestamp > options.timestamp_lt)
        return true;
    switch (options.format) {
        case VRN_FORMAT_JSON:
        case VRN_FORMAT_NDJSON:
            return print_json(block, output);
        case VRN_FORMAT_CSV:
            // A refusal in words is no failure: the file counts as read.
            output->fail("CSV output is not supported yet");
            return true;
        case VRN_FORMAT_INFLUX:
            output->fail("Influx line API output is not yet supported for counters data");
            return true;
        default:
            return print_table(block, output);
    }
}

bool CountersOutput::print_json(const scan::CountersBlock &block, FileOutput *output) {
    const bool done = output->add_record([&](JsonText *text) {
        if (!json_) json_.emplace(*block.schema, metadata_, *text);
        return json_->write(block.header.timestamp, block.row,
                            output->options.microsecond_precision);
    });
    // Deliberate: the wording stands although these are counters.
    if (!done) output->fail("Failed to JSONify event values");
    return done;
}

bool CountersOutput::print_table(const scan::CountersBlock &block, const FileOutput *output) {
    const bool done = output->records.add_text([&](TextBuffer *text) {
        if (!table_) table_.emplace(*block.schema);
        table_->write(block.header.timestamp, block.row, output->options.microsecond_precision,
                      text);
        return true;
    });
    if (!done) VRN_LOG(VRN_LOG_ERROR, "Failed to print");
    // The data writer prints the pages that it can't store.
    if (output->options.format == VRN_FORMAT_BIN) output->records.flush();
    return done;
}

}  // namespace vrn::reader
