// JSON strings, with the escapes that parson prints.
#pragma once

#include <cstddef>
#include <string_view>

#include "data/text/text_buffer.h"
#include "utils/byte_reader.h"

namespace vrn {

// Appends `text` in quotes. It isn't checked to be UTF-8. Throws std::bad_alloc.
void append_json_string(std::string_view text, TextBuffer *to);

// Appends text of others in quotes. False, with nothing appended, when it isn't UTF-8.
[[nodiscard]] bool append_checked_json_string(std::string_view text, TextBuffer *to);

// Writes the bytes before the first zero, in quotes, when they are printable ASCII without escapes;
// otherwise null, with anything after `out`. Takes room for the bytes and the quotes.
[[nodiscard]] char *write_plain_json(char *out, Bytes bytes);

// Room for what write_printable_json() makes of so many bytes.
constexpr std::size_t printable_json_room(std::size_t size) {
    constexpr std::size_t quotes = 2;
    return 2 * size + quotes;  // with an escape for each
}
// Writes the printable characters before the first one that isn't, in quotes. Returns the end, null
// when they aren't UTF-8. Copies go in steps, by up to TextBuffer::slack bytes beyond the room.
[[nodiscard]] char *write_printable_json(char *out, Bytes bytes);

}  // namespace vrn
