// Digits of integers, eight at a time.
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

// Decimal digits of a number below EIGHT_DIGITS_LIMIT, at least one. Short, since all that is
// written after the number waits for it.
inline unsigned count_digits(std::uint32_t number) {
    constexpr std::uint32_t powers[] = {0,       10,        100,        1'000,      10'000,
                                        100'000, 1'000'000, 10'000'000, 100'000'000};
    const auto bits = static_cast<unsigned>(std::bit_width(number | 1));
    const unsigned count = bits * 1233 >> 12;  // log10(2) is 1233 / 4096
    return count + (number >= powers[count] ? 1 : 0);
}

inline char *write_eight_digits(char *out, std::uint64_t number) {
    const std::uint64_t digits = eight_digits(number) | ZERO_DIGITS;
    std::memcpy(out, &digits, sizeof digits);
    return out + sizeof digits;
}

// Digits of a number below EIGHT_DIGITS_LIMIT.
inline char *write_short_digits(char *out, std::uint64_t number) {
    const unsigned count = count_digits(static_cast<std::uint32_t>(number));
    const std::uint64_t shown = (eight_digits(number) | ZERO_DIGITS) >> 8 * (8 - count);
    std::memcpy(out, &shown, sizeof shown);
    return out + count;
}

// Writes the digits of `number` and returns their end. Up to 8 bytes after it are written, too.
inline char *write_digits(char *out, std::uint64_t number) {
    if (number < EIGHT_DIGITS_LIMIT) return write_short_digits(out, number);
    const std::uint64_t upper = number / EIGHT_DIGITS_LIMIT;
    if (upper < EIGHT_DIGITS_LIMIT) {
        out = write_short_digits(out, upper);
    } else {
        out = write_short_digits(out, upper / EIGHT_DIGITS_LIMIT);
        out = write_eight_digits(out, upper % EIGHT_DIGITS_LIMIT);
    }
    return write_eight_digits(out, number % EIGHT_DIGITS_LIMIT);
}

// The eight hexadecimal digits of a number as text, the first one lowest.
inline std::uint64_t eight_hex_digits(std::uint32_t number) {
    constexpr std::uint64_t ones = 0x0101010101010101;
    std::uint64_t digits = number;
    digits = (digits << 16 | digits) & 0x0000ffff0000ffff;
    digits = (digits << 8 | digits) & 0x00ff00ff00ff00ff;
    digits = (digits << 4 | digits) & 0x0f0f0f0f0f0f0f0f;
    const std::uint64_t letters = (digits + 6 * ones) >> 4 & ones;  // 1 from 10 on
    return __builtin_bswap64(digits + ZERO_DIGITS + letters * ('a' - '0' - 10));
}

// Writes all 16 hexadecimal digits and returns their end.
inline char *write_hex_digits(char *out, std::uint64_t number) {
    const std::uint64_t digits[] = {eight_hex_digits(static_cast<std::uint32_t>(number >> 32)),
                                    eight_hex_digits(static_cast<std::uint32_t>(number))};
    std::memcpy(out, digits, sizeof digits);
    return out + sizeof digits;
}

}  // namespace vrn
