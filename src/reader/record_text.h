// The way of records to standard output.
#pragma once

#include <new>

#include "reader/reader.h"

// The reader's text, empty at first. Records of other formats use it as a plain buffer.
vrn::JsonText &vrn_reader_text(vrn_reader_t *reader);

// Hands the records written so far to standard output. To be called before anything else prints.
void vrn_reader_flush_text(vrn_reader_t *reader);

// Bytes of text that are worth handing over: about half a pipe, so that its two ends work at the
// same time; a terminal shows each record at once.
std::size_t vrn_reader_piece_size();

// Adds what `write` appends to the text that it is given. When that returns false or memory runs
// out, nothing is added and the result is false.
template <typename Write>
bool vrn_reader_add_text(vrn_reader_t *reader, Write write) {
    vrn::JsonText &text = vrn_reader_text(reader);
    const vrn::JsonText::Mark start = text.mark();
    bool done = false;
    try {
        done = write(&text);
    } catch (const std::bad_alloc &) {
        done = false;
    }
    if (!done) text.rewind(start);
    if (text.size() >= vrn_reader_piece_size()) vrn_reader_flush_text(reader);
    return done;
}

// The same for a JSON record, framed as the reader's format asks.
template <typename Write>
bool vrn_reader_add_record(vrn_reader_t *reader, Write write) {
    return vrn_reader_add_text(reader, [&](vrn::JsonText *text) {
        const bool pretty = reader->options->format == VRN_FORMAT_JSON;
        if (pretty && reader->records_out != 0) text->append(",\n");
        if (!write(text)) return false;
        if (!pretty) text->append('\n');
        return true;
    });
}
