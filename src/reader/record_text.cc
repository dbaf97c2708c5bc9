#include "reader/record_text.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

#include "utils/log.h"

namespace {

// Not through the stream, whose buffer would only be one copy more. Output isn't checked.
void write_all(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(STDOUT_FILENO, text.data(), text.size());
        if (count < 0 && errno != EINTR) return;
        if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
    }
}

}  // namespace

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
    if (!reader->text || reader->text->view().empty()) return;
    std::fflush(stdout);  // what others print comes first
    write_all(reader->text->view());
    reader->text->clear();
}

void vrn_reader_print_json(vrn_reader_t *reader, const JSON_Value *value) {
    if (!vrn_reader_add_record(reader, [&](vrn::JsonText *text) { return text->tree(value); }))
        VRN_LOG(VRN_LOG_WARNING, "Could not serialize json.");
    vrn_reader_flush_text(reader);
}
