#include "data/text/utf8.h"

namespace vrn {
namespace {

// Bytes of a character by its first one; 0 for a byte that begins none.
std::size_t size_by_first(unsigned char byte) {
    if (byte < 0x80) return 1;
    if (byte < 0xC2) return 0;  // a later byte, or a longer form of ASCII
    if (byte < 0xE0) return 2;
    if (byte < 0xF0) return 3;
    return byte < 0xF5 ? 4 : 0;
}

bool is_allowed(std::uint32_t character, std::size_t size) {
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool is_surrogate = character >= 0xD800 && character < 0xE000;
    return character >= smallest[size] && character <= 0x10FFFF && !is_surrogate;
}

// Bytes of the first character of a text that isn't empty; 0 when there is none.
std::size_t first_size(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t size = size_by_first(first);
    if (size <= 1) return size;
    if (size > text.size()) return 0;
    std::uint32_t character = first & (0x7FU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0) != 0x80) return 0;
        character = character << 6 | (byte & 0x3F);
    }
    return is_allowed(character, size) ? size : 0;
}

}  // namespace

bool is_utf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t size = first_size(text);
        if (size == 0) return false;
        text.remove_prefix(size);
    }
    return true;
}

}  // namespace vrn
