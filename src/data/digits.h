// Decimal digits of integers, eight at a time.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace vrn {

inline constexpr std::uint64_t EIGHT_DIGITS_LIMIT = 100'000'000;
inline constexpr std::uint64_t ZERO_DIGITS = 0x3030303030303030;

// The eight digits of a number below EIGHT_DIGITS_LIMIT, a byte of 0 to 9 each, the first one
// lowest: the number is cut in halves three times, all parts at once in one word.
inline std::uint64_t eight_digits(std::uint64_t number) {
    const std::uint64_t fours = number / 10000 | (number % 10000) << 32;
    const std::uint64_t hundreds = fours * 10486 >> 20 & 0x0000007f0000007f;
    const std::uint64_t pairs = hundreds | (fours - 100 * hundreds) << 16;
    const std::uint64_t tens = pairs * 103 >> 10 & 0x000f000f000f000f;
    return tens | (pairs - 10 * tens) << 8;
}

// Writes the digits of `number` and returns their end. Up to 8 bytes behind it are written, too.
inline char *write_digits(char *out, std::uint64_t number) {
    if (number >= EIGHT_DIGITS_LIMIT) {
        out = write_digits(out, number / EIGHT_DIGITS_LIMIT);
        const std::uint64_t digits = eight_digits(number % EIGHT_DIGITS_LIMIT) | ZERO_DIGITS;
        std::memcpy(out, &digits, sizeof digits);
        return out + sizeof digits;
    }
    constexpr std::uint64_t last_digit = std::uint64_t{1} << 56;  // is shown also when it is 0
    const std::uint64_t digits = eight_digits(number);
    const int zeros = std::countr_zero(digits | last_digit) / 8;
    const std::uint64_t shown = (digits | ZERO_DIGITS) >> 8 * zeros;
    std::memcpy(out, &shown, sizeof shown);
    return out + sizeof shown - zeros;
}

}  // namespace vrn
