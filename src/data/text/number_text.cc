#include "data/text/number_text.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

namespace vrn {
namespace {

constexpr int fraction_digits = 6;
constexpr std::uint64_t scale = 1'000'000;

// A finite double is a whole number of 53 bits times a power of two.
constexpr int mantissa_bits = 52;  // of which one isn't stored
constexpr int exponent_mask = 0x7ff;
constexpr int exponent_of_one = 1023;
// From 2 to the 43rd on a double times the scale may not fit in 64 bits.
constexpr int exponent_limit = exponent_of_one + 43;

using Wide = unsigned __int128;

// `number`, of 73 bits at most, shifted to the right by `shift` bits, at least one; rounded to the
// nearest, halves to the even one.
std::uint64_t shift_rounded(Wide number, int shift) {
    constexpr int max_shift = 74;  // beyond it there is less than a half
    if (shift > max_shift) return 0;
    const Wide half = Wide{1} << (shift - 1);
    const Wide whole = number >> shift;
    const Wide rest = number - (whole << shift);
    const bool is_up = rest > half || (rest == half && (whole & 1) != 0);
    return static_cast<std::uint64_t>(whole) + (is_up ? 1 : 0);
}

}  // namespace

char *write_fixed(char *out, double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const int exponent = static_cast<int>(bits >> mantissa_bits) & exponent_mask;
    if (exponent >= exponent_limit)
        return std::to_chars(out, out + FIXED_TEXT_SIZE, value, std::chars_format::fixed,
                             fraction_digits)
            .ptr;
    constexpr std::uint64_t first_bit = std::uint64_t{1} << mantissa_bits;
    // Subnormal numbers don't have that bit, but all of them are rounded to zero below.
    const Wide mantissa = (bits & (first_bit - 1)) | first_bit;
    const std::uint64_t scaled =
        shift_rounded(mantissa * scale, exponent_of_one + mantissa_bits - exponent);
    if (std::signbit(value)) *out++ = '-';
    out = write_digits(out, scaled / scale);
    *out++ = '.';
    const std::uint64_t digits = eight_digits(static_cast<std::uint32_t>(scaled % scale));
    constexpr int unused = 8 - fraction_digits;
    std::memcpy(out, reinterpret_cast<const char *>(&digits) + unused, fraction_digits);
    return out + fraction_digits;
}

}  // namespace vrn
