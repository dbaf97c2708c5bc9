// Texts that JSON may hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "utils/byte_reader.h"

namespace vrn {

// The last word overlaps the one before it.
inline bool is_ascii(std::string_view text) {
    constexpr std::size_t word = sizeof(std::uint64_t);
    constexpr std::size_t half = sizeof(std::uint32_t);
    const char *const end = text.data() + text.size();
    std::uint64_t all = 0;
    if (text.size() >= word) {
        for (const char *at = text.data(); at < end - word; at += word)
            all |= load_le<std::uint64_t>(at);
        all |= load_le<std::uint64_t>(end - word);
    } else if (text.size() >= half) {
        all = load_le<std::uint32_t>(text.data()) | load_le<std::uint32_t>(end - half);
    } else {
        for (const char character : text) all |= static_cast<unsigned char>(character);
    }
    return (all & 0x8080808080808080) == 0;
}

// By parson's rules, which are those of RFC 3629: no longer form than needed, no surrogates,
// nothing above U+10FFFF. A NUL is a character like any other.
bool is_utf8(std::string_view text);

}  // namespace vrn
