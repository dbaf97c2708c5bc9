// The way of JSON records to standard output.
#pragma once

#include "reader/reader.h"

// The reader's text, empty at first.
vrn::JsonText &vrn_reader_text(vrn_reader_t *reader);

// Hands the records written so far to standard output. To be called before anything else prints.
void vrn_reader_flush_text(vrn_reader_t *reader);

// Adds one record to the reader's text, framed as its format asks. `write` appends the JSON text to
// the vrn::JsonText it is given; when it returns false, nothing is added and the result is false.
template <typename Write>
bool vrn_reader_add_record(vrn_reader_t *reader, Write write) {
    constexpr std::size_t piece_size = 32768;
    const bool pretty = reader->options->format == VRN_FORMAT_JSON;
    vrn::JsonText &text = vrn_reader_text(reader);
    const vrn::JsonText::Mark start = text.mark();
    if (pretty && reader->records_out != 0) text.literal(",\n");
    if (!write(&text)) {
        text.rewind(start);
        return false;
    }
    if (!pretty) text.literal("\n");
    if (text.view().size() >= piece_size) vrn_reader_flush_text(reader);
    return true;
}
