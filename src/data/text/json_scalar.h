// Scalars of JSON, written in place where there is room for JSON_SCALAR_ROOM bytes. Functions
// return the end of the text.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "data/text/digits.h"
#include "data/text/double_text.h"

namespace vrn {

inline constexpr std::size_t JSON_SCALAR_ROOM = DOUBLE_TEXT_ROOM;

// Integers are printed as the doubles nearest to them. Up to here all of them are doubles.
inline constexpr std::uint64_t JSON_EXACT_LIMIT = std::uint64_t{1} << 53;

inline char *write_json_number(char *out, std::uint64_t value) {
    return value <= JSON_EXACT_LIMIT ? write_digits(out, value)
                                     : write_double(out, static_cast<double>(value));
}

inline char *write_json_number(char *out, std::int64_t value) {
    if (value >= 0) return write_json_number(out, static_cast<std::uint64_t>(value));
    *out++ = '-';
    return write_json_number(out, -static_cast<std::uint64_t>(value));
}

// Null for a NaN or an infinity: JSON has no form for them.
inline char *write_json_number(char *out, double value) {
    return std::isfinite(value) ? write_double(out, value) : nullptr;
}

// "0x" and 16 digits, in quotes.
inline char *write_json_hex(char *out, std::uint64_t value) {
    static constexpr std::string_view prefix = "\"0x";
    out = write_hex_digits(std::ranges::copy(prefix, out).out, value);
    *out++ = '"';
    return out;
}

}  // namespace vrn
