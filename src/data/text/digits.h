// Digits of integers, four at a time.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace vrn {

inline constexpr std::uint32_t FOUR_DIGITS_LIMIT = 10'000;
inline constexpr std::uint64_t EIGHT_DIGITS_LIMIT = 100'000'000;
inline constexpr std::uint64_t ZERO_DIGITS = 0x3030303030303030;

// "0000" to "9999", the first digit in the lowest byte. 40 KB, most of which are seldom all in use,
// take less than half of the time of any computation.
extern const std::array<std::uint32_t, FOUR_DIGITS_LIMIT> FOUR_DIGITS;

// All eight digits of a number below EIGHT_DIGITS_LIMIT, the first one in the lowest byte.
inline std::uint64_t eight_digits(std::uint32_t number) {
    const std::uint64_t last = FOUR_DIGITS[number % FOUR_DIGITS_LIMIT];
    return FOUR_DIGITS[number / FOUR_DIGITS_LIMIT] | last << 32;
}

inline char *write_four_digits(char *out, std::uint32_t number) {
    std::memcpy(out, &FOUR_DIGITS[number], sizeof FOUR_DIGITS[number]);
    return out + sizeof FOUR_DIGITS[number];
}

inline char *write_eight_digits(char *out, std::uint32_t number) {
    out = write_four_digits(out, number / FOUR_DIGITS_LIMIT);
    return write_four_digits(out, number % FOUR_DIGITS_LIMIT);
}

// Without zeros before the number, of which one digit stays.
inline char *write_up_to_four_digits(char *out, std::uint32_t number) {
    const std::uint32_t digits = FOUR_DIGITS[number];
    constexpr std::uint32_t last_digit = 1U << 24;
    const std::uint32_t values = digits ^ static_cast<std::uint32_t>(ZERO_DIGITS);
    const int zeros = std::countr_zero(values | last_digit) / 8;
    const std::uint32_t shown = digits >> 8 * zeros;
    std::memcpy(out, &shown, sizeof shown);
    return out + sizeof shown - zeros;
}
inline char *write_up_to_eight_digits(char *out, std::uint32_t number) {
    if (number < FOUR_DIGITS_LIMIT) return write_up_to_four_digits(out, number);
    out = write_up_to_four_digits(out, number / FOUR_DIGITS_LIMIT);
    return write_four_digits(out, number % FOUR_DIGITS_LIMIT);
}

// Writes the digits of `number` and returns their end. Up to 8 bytes after it are written, too.
inline char *write_digits(char *out, std::uint64_t number) {
    if (number < EIGHT_DIGITS_LIMIT)
        return write_up_to_eight_digits(out, static_cast<std::uint32_t>(number));
    const std::uint64_t upper = number / EIGHT_DIGITS_LIMIT;
    const auto last = static_cast<std::uint32_t>(number - upper * EIGHT_DIGITS_LIMIT);
    if (upper < EIGHT_DIGITS_LIMIT) {
        out = write_up_to_eight_digits(out, static_cast<std::uint32_t>(upper));
    } else {
        constexpr std::uint64_t limit = EIGHT_DIGITS_LIMIT;
        out = write_up_to_four_digits(out, static_cast<std::uint32_t>(upper / limit));
        out = write_eight_digits(out, static_cast<std::uint32_t>(upper % limit));
    }
    return write_eight_digits(out, last);
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
