// Doubles with the 17 digits that tell each from any other.
#pragma once

#include <cstddef>

namespace vrn {

// The longest text, with sign, 17 digits, point and exponent, has 24 bytes; the others may be
// touched.
inline constexpr std::size_t DOUBLE_TEXT_ROOM = 40;

// Writes what printf gives for "%.17g" in the C locale, NaN and infinities included, where there is
// room for DOUBLE_TEXT_ROOM bytes. Returns the end of the text.
char *write_double(char *out, double value);

// Likewise what std::to_chars() gives: the shortest text that reads as the same number.
char *write_shortest_double(char *out, double value);

}  // namespace vrn
