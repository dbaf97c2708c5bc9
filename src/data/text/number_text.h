// Numbers as text, written in place. Functions return the end of the text; up to NUMBER_TEXT_SLACK
// bytes after it are written, too.
#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "data/text/digits.h"

namespace vrn {

inline constexpr std::size_t NUMBER_TEXT_SLACK = 8;
// Bytes of the longest texts: an integer, the largest double with 6 digits after the point.
inline constexpr std::size_t INTEGER_TEXT_SIZE = 20;
inline constexpr std::size_t FIXED_TEXT_SIZE = 317;

// Bytes of the decimal digits of a number.
inline std::size_t integer_size(std::uint64_t number) {
    // The smallest numbers of one digit more than the index.
    static constexpr auto limits = [] {
        std::array<std::uint64_t, INTEGER_TEXT_SIZE> powers{0, 10};
        for (std::size_t i = 2; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
        return powers;
    }();
    // 1233 / 4096 is about the decimal logarithm of 2.
    const auto index = static_cast<std::size_t>(std::bit_width(number | 1)) * 1233 >> 12;
    return index + (number >= limits[index] ? 1 : 0);
}

// Decimal digits, with a sign before those of a negative.
template <std::integral T>
char *write_integer(char *out, T value) {
    if constexpr (std::is_signed_v<T>) {
        if (value < 0) {
            *out++ = '-';
            return write_digits(out, -static_cast<std::uint64_t>(value));
        }
    }
    return write_digits(out, static_cast<std::uint64_t>(value));
}

// What printf gives for "%f" in the C locale, NaN and infinities included.
char *write_fixed(char *out, double value);

}  // namespace vrn
