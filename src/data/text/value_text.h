// Values as text, written in place: `out` has room for VALUE_TEXT_ROOM bytes, the result is the end
// of the text, which has no terminator. `format` is a vrn_string_format_t; formats that make no
// sense for a type warn at level 4 and take the type's default form, ids outside the table take it
// silently.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "data/text/number_text.h"
#include "data/text/string_format.h"

namespace vrn {

// The longest text, 128 binary digits after "0b", and the spare bytes that its writing may touch.
inline constexpr std::size_t VALUE_TEXT_ROOM = 130 + NUMBER_TEXT_SLACK;

// A 128-bit value in storage order: nothing is computed with it.
using WideBytes = std::array<std::uint8_t, 16>;

// Hexadecimal and binary forms show the 64 bits of a value, also of a negative or a double.
char *write_value(char *out, std::uint64_t value, std::uint32_t format);
char *write_value(char *out, std::int64_t value, std::uint32_t format);
// Decimal texts are cut at 31 characters.
char *write_value(char *out, double value, std::uint32_t format);
// There is no decimal form: it warns and gives 32 hexadecimal digits without "0x", as ids outside
// the table do. Signed values are shown like unsigned ones.
char *write_value(char *out, const WideBytes &bytes, std::uint32_t format);
// "0x" and 16 digits.
char *write_guid_value(char *out, std::uint64_t value);

// True for the formats in which a number stays a number where the output has numbers.
constexpr bool is_plain_format(std::uint32_t format) {
    return format == VRN_STRING_DEFAULT || format == VRN_STRING_DECIMAL;
}

}  // namespace vrn

// Heap texts of values, which the caller frees; null when out of memory.
[[nodiscard]] char *vrn_format_uint64_string(std::uint64_t value, std::uint32_t format);
[[nodiscard]] char *vrn_format_int64_string(std::int64_t value, std::uint32_t format);
[[nodiscard]] char *vrn_format_double_string(std::uint32_t format, double value);
// 16 bytes; null for null.
[[nodiscard]] char *vrn_format_uint128_string(const void *data, std::uint32_t format);
[[nodiscard]] char *vrn_format_int128_string(const void *data, std::uint32_t format);
[[nodiscard]] char *vrn_format_guid_string(std::uint64_t value);
