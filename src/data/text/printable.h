// Printable characters at the start of bytes that may hold anything.
#pragma once

#include <bit>
#include <cctype>
#include <cstddef>
#include <cstdint>

#include "utils/byte_reader.h"

namespace vrn {

// As std::isprint, of which the ASCII part is the same in all locales.
inline bool is_printable(std::uint8_t byte) {
    return byte < 0x80 ? byte - 0x20U < 0x7fU - 0x20U : std::isprint(byte) != 0;
}

// Index of the first of eight bytes that is no printable ASCII character; 8 when all are.
inline std::size_t first_unprintable(std::uint64_t word) {
    constexpr std::uint64_t ones = 0x0101010101010101;
    // The highest bit of a byte: not ASCII, below a blank, or 0x7f. Above the first byte that is
    // found, borrows and carries may tell anything.
    const std::uint64_t found = (word | (word - ones * ' ') | (word + ones)) & ones * 0x80;
    return static_cast<std::size_t>(std::countr_zero(found)) / 8;
}

inline std::size_t printable_length(const std::uint8_t *bytes, std::size_t size) {
    std::size_t length = 0;
    while (size - length >= 8) {
        const std::size_t good = first_unprintable(load_le<std::uint64_t>(bytes + length));
        length += good;
        if (good < 8) break;
    }
    while (length < size && is_printable(bytes[length])) ++length;
    return length;
}

}  // namespace vrn
