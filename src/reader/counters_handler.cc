#include "reader/counters_handler.h"

#include <cstdio>

#include "data/block.h"
#include "reader/block_walk.h"
#include "reader/record_text.h"
#include "utils/log.h"

namespace {

// Bytes behind the block's header, as far as the window reaches.
vrn::Bytes row_of(const vrn_reader_t *reader, const void *block) {
    const vrn::Bytes window = vrn_reader_window_from(reader, block);
    return window.size() > sizeof(vrn_data_block_t) ? window.subspan(sizeof(vrn_data_block_t))
                                                    : vrn::Bytes();
}

bool print_counters_json(vrn_reader_t *reader, std::uint64_t timestamp, vrn::Bytes row) {
    const bool done = vrn_reader_add_record(reader, [&](vrn::JsonText *text) {
        if (!reader->counters_json)
            reader->counters_json = new vrn::CountersJsonWriter(
                *reader->type_system->counters_schema, reader->metadata, *text);
        return reader->counters_json->write(timestamp, row, reader->options->microsecond_precision);
    });
    if (!done) vrn_reader_fail(reader, "Failed to JSONify event values");
    return done;
}

bool print_counters_table(vrn_reader_t *reader, std::uint64_t timestamp, vrn::Bytes row) {
    const bool done = vrn_reader_add_text(reader, [&](vrn::TextBuffer *text) {
        if (!reader->counters_table)
            reader->counters_table = new vrn::CountersTable(*reader->type_system->counters_schema);
        reader->counters_table->write(timestamp, row, reader->options->microsecond_precision, text);
        return true;
    });
    if (!done) VRN_LOG(VRN_LOG_ERROR, "Failed to print");
    // The data writer prints the pages that it can't store.
    if (reader->options->format == VRN_FORMAT_BIN) vrn_reader_flush_text(reader);
    return done;
}

}  // namespace

bool vrn_reader_handle_counters_block(vrn_reader_t *reader, const void *block) {
    const vrn_reader_options_t *options = reader->options;
    const auto header = vrn::load_le<vrn_data_block_t>(block);
    if (options->print_page_info) {
        vrn_reader_flush_text(reader);
        vrn_data_block_print(stdout, &header);
        return true;
    }
    // Both bounds are included.
    if (header.timestamp < options->timestamp_gt || header.timestamp > options->timestamp_lt)
        return true;
    const vrn::Bytes row = row_of(reader, block);
    switch (options->format) {
        case VRN_FORMAT_JSON:
        case VRN_FORMAT_NDJSON:
            return print_counters_json(reader, header.timestamp, row);
        case VRN_FORMAT_CSV:
            vrn_reader_fail(reader, "CSV output is not supported yet");
            return true;
        case VRN_FORMAT_INFLUX:
            vrn_reader_fail(reader,
                            "Influx line API output is not yet supported for counters data");
            return true;
        default:
            return print_counters_table(reader, header.timestamp, row);
    }
}
