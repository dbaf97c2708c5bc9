#include "data/text/double_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

#include "data/text/digits.h"

namespace vrn {
namespace {

using Wide = unsigned __int128;

// From here on numbers are printed with an exponent.
constexpr double whole_limit = 1e17;
// Below it all whole numbers are doubles.
constexpr double exact_limit = 9'007'199'254'740'992.0;
// Numbers of 17 digits.
constexpr std::uint64_t digits_first = 10'000'000'000'000'000;
constexpr std::uint64_t digits_end = 10 * digits_first;
constexpr int digit_count = 17;

constexpr int mantissa_bits = 52;  // of which one isn't stored
constexpr int exponent_mask = 0x7ff;
constexpr int exponent_of_one = 1023;
// Binary exponents of numbers whose scaling is exact; above them all numbers are whole.
constexpr int exponent_min = -126;
constexpr int exponent_max = 52;

// A power of ten up to what numbers below 1e-37 are multiplied by: `bits`, of which the highest is
// set, times 2 to the `exponent`. Powers of five have at most 126 bits, so it is exact.
struct Power {
    std::uint64_t high, low;
    int exponent;
};
constexpr std::size_t power_count = 55;

constexpr std::array<Power, power_count> make_powers() {
    std::array<Power, power_count> powers{};
    Wide five = 1;
    for (int i = 0; i < static_cast<int>(power_count); ++i, five *= 5) {
        const auto high = static_cast<std::uint64_t>(five >> 64);
        const int zeros = high != 0 ? std::countl_zero(high)
                                    : 64 + std::countl_zero(static_cast<std::uint64_t>(five));
        const Wide bits = five << zeros;
        powers[i] = {static_cast<std::uint64_t>(bits >> 64), static_cast<std::uint64_t>(bits),
                     i - zeros};
    }
    return powers;
}
constexpr std::array<Power, power_count> powers = make_powers();

// `mantissa`, whose highest bit is set, times 2 to the `exponent` times 10 to the `power`; rounded
// to the nearest, halves to the even one.
std::uint64_t scaled(std::uint64_t mantissa, int exponent, int power) {
    const Power &ten = powers[power];
    const Wide low = Wide{mantissa} * ten.low;
    const Wide high = Wide{mantissa} * ten.high + static_cast<std::uint64_t>(low >> 64);
    // The number is `top` and the bits below it, shifted to the right by 5 to 10 bits.
    const auto top = static_cast<std::uint64_t>(high >> 64);
    const bool is_cut = (static_cast<std::uint64_t>(high) | static_cast<std::uint64_t>(low)) != 0;
    const int shift = -(exponent + ten.exponent + 128);
    const std::uint64_t whole = top >> shift;
    constexpr std::uint64_t half = std::uint64_t{1} << 63;
    // What lies above a half, when the last digit is even, or reaches it, when it is odd.
    const std::uint64_t rest = top << (64 - shift) | (is_cut ? 1 : 0);
    return whole + (rest + (whole & 1) > half ? 1 : 0);
}

struct Digits {
    char text[digit_count + 7];  // the rest for copies in steps
    int count;                   // without zeros at the end
    int exponent;                // of ten, at the first one
};

// Of a number of 17 digits.
Digits digits_of(std::uint64_t number, int ten) {
    Digits digits;
    digits.exponent = ten;
    digits.text[0] = static_cast<char>('0' + number / digits_first);
    const std::uint64_t rest = number % digits_first;
    const std::uint64_t words[] = {
        eight_digits(static_cast<std::uint32_t>(rest / EIGHT_DIGITS_LIMIT)),
        eight_digits(static_cast<std::uint32_t>(rest % EIGHT_DIGITS_LIMIT))};
    std::memcpy(digits.text + 1, words, sizeof words);
    const int zeros = words[1] != ZERO_DIGITS ? std::countl_zero(words[1] ^ ZERO_DIGITS)
                                              : 64 + std::countl_zero(words[0] ^ ZERO_DIGITS);
    digits.count = digit_count - zeros / 8;
    return digits;
}

int exponent_of(std::uint64_t bits) {
    return static_cast<int>(bits >> mantissa_bits & exponent_mask) - exponent_of_one;
}

std::uint64_t mantissa_of(std::uint64_t bits) {
    return bits << 11 | std::uint64_t{1} << 63;
}

// The power of ten of the first digit, by the logarithm of two, 78913 / 2^18; may be one too low.
int ten_of(int exponent) {
    return exponent * 78913 >> 18;
}

// Of a number that isn't whole and within the limits of exponents.
Digits all_digits(std::uint64_t bits) {
    const int exponent = exponent_of(bits);
    int ten = ten_of(exponent);
    std::uint64_t number = scaled(mantissa_of(bits), exponent - 63, digit_count - 1 - ten);
    if (number >= digits_end) {
        ++ten;
        number = scaled(mantissa_of(bits), exponent - 63, digit_count - 1 - ten);
    }
    return digits_of(number, ten);
}

// Numbers with 48 bits after the point.
constexpr int fraction_bits = 48;
constexpr std::uint64_t one = std::uint64_t{1} << fraction_bits;
// More than what cutting them there takes away: what is as close as this isn't decided by them.
constexpr std::uint64_t doubt = one >> 40;

// A number in units of its 17th digit.
struct Interval {
    std::uint64_t whole;     // of the number
    std::uint64_t fraction;  // of the number
    std::uint64_t half;      // texts nearer to the number than this read as it
};

Interval interval_of(std::uint64_t bits, int ten_power) {
    const Power &ten = powers[ten_power];
    const std::uint64_t mantissa = mantissa_of(bits);
    const Wide low = Wide{mantissa} * ten.low;
    const Wide high = Wide{mantissa} * ten.high + static_cast<std::uint64_t>(low >> 64);
    const auto top = static_cast<std::uint64_t>(high >> 64);
    const int shift = -(exponent_of(bits) - 63 + ten.exponent + 128);
    const Wide rest = high - (Wide{top >> shift << shift} << 64);
    // Half of the last bit of a mantissa, of which the lowest 11 bits are zeros.
    return {top >> shift, static_cast<std::uint64_t>(rest >> (shift + 64 - fraction_bits)),
            ten.high >> (shift + 64 - fraction_bits - 10)};
}

// The multiple of `unit` nearest to the number. False when it doesn't read as the number, or
// `*is_clear` is false: then nobody knows.
template <std::uint64_t unit>
bool find_multiple(const Interval &number, std::uint64_t *found, bool *is_clear) {
    const std::uint64_t rest = number.whole % unit;
    const std::uint64_t down = rest * one + number.fraction;
    const std::uint64_t up = unit * one - down;
    const std::uint64_t distance = std::min(down, up);
    if (distance > number.half + doubt) return false;
    *is_clear = distance + doubt < number.half && std::max(down, up) > distance + doubt;
    *found = number.whole - rest + (up < down ? unit : 0);
    return *is_clear;
}

// The fewest digits that tell a number from all others, of a number that isn't whole and within the
// limits of exponents. False in the rare cases that 64 bits don't decide.
bool find_shortest(std::uint64_t bits, Digits *digits) {
    // Below a power of two the next number is nearer.
    if ((bits << (64 - mantissa_bits)) == 0) return false;
    int ten = ten_of(exponent_of(bits));
    Interval number = interval_of(bits, digit_count - 1 - ten);
    if (number.whole >= digits_end) number = interval_of(bits, digit_count - 1 - ++ten);
    // At most one multiple of 100 is near enough: zeros at its end are no digits. All numbers have
    // 17 digits that read as them.
    std::uint64_t found = 0;
    bool is_clear = true;
    const bool is_found = find_multiple<100>(number, &found, &is_clear) ||
                          (is_clear && find_multiple<10>(number, &found, &is_clear)) ||
                          (is_clear && find_multiple<1>(number, &found, &is_clear));
    if (!is_found || found >= digits_end) return false;
    *digits = digits_of(found, ten);
    return true;
}

// 12.34; a number that isn't whole has digits after the point.
char *write_with_point(char *out, const Digits &digits) {
    const int whole = digits.exponent + 1;
    std::memcpy(out, digits.text, 16);
    out[whole] = '.';
    std::memcpy(out + whole + 1, digits.text + whole, 16);
    return out + digits.count + 1;
}

// 0.00123
char *write_fraction(char *out, const Digits &digits) {
    std::fill_n(out, 8, '0');
    out[1] = '.';
    out += 1 - digits.exponent;
    std::memcpy(out, digits.text, 24);
    return out + digits.count;
}

// 1.23e-05
char *write_with_exponent(char *out, const Digits &digits) {
    *out++ = digits.text[0];
    *out = '.';
    std::memcpy(out + 1, digits.text + 1, 16);
    if (digits.count > 1) out += digits.count;
    *out++ = 'e';
    *out++ = '-';
    *out++ = static_cast<char>('0' + -digits.exponent / 10);
    *out++ = static_cast<char>('0' + -digits.exponent % 10);
    return out;
}

bool is_scalable(std::uint64_t bits) {
    const int exponent = exponent_of(bits);
    return exponent >= exponent_min && exponent <= exponent_max;
}

}  // namespace

char *write_double(char *out, double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    // A negative zero keeps its sign.
    if (std::abs(value) < whole_limit && bits != std::bit_cast<std::uint64_t>(-0.0)) {
        const auto whole = static_cast<std::int64_t>(value);
        if (static_cast<double>(whole) == value) {
            if (whole < 0) *out++ = '-';
            return write_digits(out, static_cast<std::uint64_t>(std::abs(whole)));
        }
        if (is_scalable(bits)) {
            if (std::signbit(value)) *out++ = '-';
            const Digits digits = all_digits(bits);
            if (digits.exponent >= 0) return write_with_point(out, digits);
            if (digits.exponent >= -4) return write_fraction(out, digits);
            return write_with_exponent(out, digits);
        }
    }
    // The digits of printf without its locale, whose point may be a comma.
    return std::to_chars(out, out + DOUBLE_TEXT_ROOM, value, std::chars_format::general,
                         digit_count)
        .ptr;
}

char *write_shortest_double(char *out, double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const auto by_library = [&] { return std::to_chars(out, out + DOUBLE_TEXT_ROOM, value).ptr; };
    if (!(std::abs(value) < exact_limit) || bits == std::bit_cast<std::uint64_t>(-0.0))
        return by_library();
    const auto whole = static_cast<std::int64_t>(value);
    if (static_cast<double>(whole) == value) {
        // With five zeros at the end an exponent may be shorter.
        const auto number = static_cast<std::uint64_t>(std::abs(whole));
        if (number >= 100'000 && number % 100'000 == 0) return by_library();
        if (whole < 0) *out++ = '-';
        return write_digits(out, number);
    }
    Digits digits;
    if (!is_scalable(bits) || !find_shortest(bits, &digits)) return by_library();
    if (value < 0) *out++ = '-';
    if (digits.exponent >= 0) return write_with_point(out, digits);
    const bool is_short = digits.exponent >= -3 || (digits.exponent == -4 && digits.count > 1);
    return is_short ? write_fraction(out, digits) : write_with_exponent(out, digits);
}

}  // namespace vrn
