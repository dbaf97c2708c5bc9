#include "common/shown_text.h"

#include <cstdint>
#include <cstdio>

#include "utils/utf8.h"

namespace vrn::tool {
namespace {

void append_escaped(std::string_view bytes, std::string *out) {
    for (const char byte : bytes) {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<std::uint8_t>(byte));
        out->append(escape);
    }
}

}  // namespace

// Names come from files: an escape sequence in one must not reach the terminal.
std::string shown_text(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const Utf8Character character = first_utf8_character(text);
        if (character.is_bad_byte() || character.is_control())
            append_escaped(character.bytes, &shown);
        else
            shown.append(character.bytes);
        text.remove_prefix(character.bytes.size());
    }
    return shown;
}

}  // namespace vrn::tool
