#include "reader/record_output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

namespace vrn::reader {

namespace {

// Not through the stream, whose buffer would only be one copy more. Output isn't checked.
void write_all(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(STDOUT_FILENO, text.data(), text.size());
        // A reader that left ends the run by its signal; other failures are not told, on purpose.
        if (count < 0 && errno != EINTR) return;
        if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
    }
}

}  // namespace

RecordOutput::RecordOutput(vrn_output_format_t format)
    : is_pretty_(format == VRN_FORMAT_JSON),
      piece_size_(isatty(STDOUT_FILENO) != 0 ? 1 : 32768),
      text_(is_pretty_ ? JsonLayout::pretty : JsonLayout::compact) {}

void RecordOutput::flush() {
    if (text_.view().empty()) return;
    std::fflush(stdout);  // what others print comes first
    write_all(text_.view());
    text_.clear();
}

}  // namespace vrn::reader
