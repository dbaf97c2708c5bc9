// The way of JSON records to standard output.
#pragma once

#include <new>

#include "reader/reader.h"

// The reader's text, empty at first.
vrn::JsonText &vrn_reader_text(vrn_reader_t *reader);

// Hands the records written so far to standard output. To be called before anything else prints.
void vrn_reader_flush_text(vrn_reader_t *reader);

// Bytes of text that are worth handing over: about half a pipe, so that its two ends work at the
// same time; a terminal shows each record at once.
std::size_t vrn_reader_piece_size();

// Adds one record to the reader's text, framed as its format asks. `write` appends the JSON text to
// the vrn::JsonText it is given; when it returns false or memory runs out, nothing is added and the
// result is false.
template <typename Write>
bool vrn_reader_add_record(vrn_reader_t *reader, Write write) {
    const bool pretty = reader->options->format == VRN_FORMAT_JSON;
    vrn::JsonText &text = vrn_reader_text(reader);
    const vrn::JsonText::Mark start = text.mark();
    try {
        if (pretty && reader->records_out != 0) text.literal(",\n");
        if (!write(&text)) {
            text.rewind(start);
            return false;
        }
        if (!pretty) text.literal("\n");
    } catch (const std::bad_alloc &) {
        text.rewind(start);
        return false;
    }
    if (text.view().size() >= vrn_reader_piece_size()) vrn_reader_flush_text(reader);
    return true;
}
