// Pieces of line protocol texts.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "data/text/text_buffer.h"

namespace vrn::data {

// `text` with a backslash before each occurrence of each entry. Backslashes themselves stay.
std::string influx_escape(std::string_view text, const std::vector<std::string> &escapes);

// Bytes of text that lines made from so many bytes may take: a record repeats the whole path of
// keys for each value, and counters may share their bytes, so that a schema alone could make it
// endless. Usual lines stay far below.
constexpr std::uint64_t influx_text_limit(std::uint64_t bytes) {
    constexpr std::uint64_t spare = 64 << 20;
    constexpr std::uint64_t per_byte = 256;
    return spare + per_byte * bytes;
}

// Appends the end of a line: a blank and the time. Files hold microseconds, lines milliseconds.
void influx_write_time(TextBuffer *text, std::uint64_t timestamp);

// Integers carry an "i".
template <std::integral T>
void influx_write_integer(TextBuffer *text, T value) {
    char *out = write_integer(text->reserve(INTEGER_TEXT_SIZE + 1), value);
    *out++ = 'i';
    text->advance_to(out);
}

}  // namespace vrn::data
