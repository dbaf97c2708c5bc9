// The way of records to standard output.
#pragma once

#include <new>

#include "reader/reader.h"

// The reader's texts, empty at first. A format uses one of them.
vrn::JsonText &vrn_reader_text(vrn_reader_t *reader);
vrn::TextBuffer &vrn_reader_plain_text(vrn_reader_t *reader);

// Hands the records written so far to standard output. To be called before anything else prints.
void vrn_reader_flush_text(vrn_reader_t *reader);

// Bytes of text that are worth handing over: about half a pipe, so that its two ends work at the
// same time; a terminal shows each record at once.
std::size_t vrn_reader_piece_size();

// Adds one JSON record to the reader's text, framed as its format asks. `write` appends the
// text to the vrn::JsonText it is given; when it returns false or memory runs out, nothing is added
// and the result is false.
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

// Adds one record of another format: what `write` appends to the vrn::TextBuffer it is given. When
// that returns false or memory runs out, nothing is added and the result is false.
template <typename Write>
bool vrn_reader_add_plain_record(vrn_reader_t *reader, Write write) {
    std::size_t size = 0;
    try {
        vrn::TextBuffer &text = vrn_reader_plain_text(reader);
        size = text.size();
        if (write(&text)) {
            if (text.size() >= vrn_reader_piece_size()) vrn_reader_flush_text(reader);
            return true;
        }
    } catch (const std::bad_alloc &) {
    }
    if (reader->plain_text) reader->plain_text->cut(size);
    return false;
}
