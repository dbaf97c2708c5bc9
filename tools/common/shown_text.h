// Text of others, such as names and paths, as it may go to a terminal.
#pragma once

#include <string>
#include <string_view>

namespace vrn::tool {

// `text` with control characters and bytes that are no UTF-8 as \xNN: nothing in it moves the
// cursor, rings or begins a line.
std::string shown_text(std::string_view text);

}  // namespace vrn::tool
