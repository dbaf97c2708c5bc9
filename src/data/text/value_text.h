// The texts of value_format.h, written in place: `out` has room for VALUE_TEXT_ROOM bytes, the
// result is the end of the text, which has no terminator.
#pragma once

#include <cstddef>
#include <cstdint>

#include "data/text/number_text.h"

namespace vrn {

// The longest text, 128 binary digits behind "0b", and what is written behind a text.
inline constexpr std::size_t VALUE_TEXT_ROOM = 130 + NUMBER_TEXT_SLACK;

char *write_uint64_value(char *out, std::uint64_t value, std::uint32_t format);
char *write_int64_value(char *out, std::int64_t value, std::uint32_t format);
char *write_double_value(char *out, double value, std::uint32_t format);
// 16 bytes.
char *write_uint128_value(char *out, const void *data, std::uint32_t format);
// "0x" and 16 digits.
char *write_guid_value(char *out, std::uint64_t value);

}  // namespace vrn
