#include "reader/record_text.h"

#include <unistd.h>

#include <cstdio>

#include "utils/log.h"

vrn::JsonText &vrn_reader_text(vrn_reader_t *reader) {
    const bool pretty = reader->options->format == VRN_FORMAT_JSON;
    if (!reader->text)
        reader->text =
            new vrn::JsonText(pretty ? vrn::JsonLayout::pretty : vrn::JsonLayout::compact);
    return *reader->text;
}

std::size_t vrn_reader_piece_size() {
    static const std::size_t size = isatty(STDOUT_FILENO) != 0 ? 1 : 32768;
    return size;
}

void vrn_reader_flush_text(vrn_reader_t *reader) {
    if (!reader->text) return;
    const std::string_view text = reader->text->view();
    std::fwrite(text.data(), 1, text.size(), stdout);
    reader->text->clear();
}

void vrn_reader_print_json(vrn_reader_t *reader, const JSON_Value *value) {
    if (!vrn_reader_add_record(reader, [&](vrn::JsonText *text) { return text->tree(value); }))
        VRN_LOG(VRN_LOG_WARNING, "Could not serialize json.");
    vrn_reader_flush_text(reader);
}
