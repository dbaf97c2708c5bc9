// JSON strings, with the escapes that parson prints.
#pragma once

#include <string_view>

#include "data/text/text_buffer.h"

namespace vrn {

// Appends `text` in quotes. It isn't checked to be UTF-8. Throws std::bad_alloc.
void append_json_string(std::string_view text, TextBuffer *to);

// Appends text of others in quotes. False, with nothing appended, when it isn't UTF-8.
[[nodiscard]] bool append_checked_json_string(std::string_view text, TextBuffer *to);

}  // namespace vrn
