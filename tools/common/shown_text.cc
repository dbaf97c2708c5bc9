#include "common/shown_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace vrn::tool {
namespace {

std::uint8_t byte_at(std::string_view text, std::size_t index) {
    return static_cast<std::uint8_t>(text[index]);
}

// Bytes that the lead byte of a UTF-8 sequence announces; 0 for what leads none.
std::size_t announced_length(std::uint8_t lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xC2 || lead > 0xF4) return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// Bytes of the character that `text` begins with; 0 when it is not to be shown.
std::size_t shown_length(std::string_view text) {
    const std::uint8_t lead = byte_at(text, 0);
    if (lead < 0x20 || lead == 0x7F) return 0;
    const std::size_t length = announced_length(lead);
    if (length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte_at(text, i) & 0xC0) != 0x80) return 0;
    // U+0080 to U+009F are control characters too.
    return lead == 0xC2 && byte_at(text, 1) < 0xA0 ? 0 : length;
}

}  // namespace

std::string shown_text(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = shown_length(text);
        if (length == 0) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", byte_at(text, 0));
            shown += escaped;
        }
        shown += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(1, length));
    }
    return shown;
}

}  // namespace vrn::tool
