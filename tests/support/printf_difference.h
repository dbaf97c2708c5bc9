// Doubles beside what printf makes of them.
#pragma once

#include <charconv>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include "data/text/double_text.h"
#include "data/text/number_text.h"

namespace vrn::test {

// Room for the texts of both kinds.
using DoubleText = char[FIXED_TEXT_SIZE + NUMBER_TEXT_SLACK + 1];

inline std::string text_difference(std::string_view printed, std::string_view written) {
    if (printed == written) return "";
    return "wanted: " + std::string(printed) + ", written: " + std::string(written);
}

// Between the 17 digits that the library writes and those of printf, and between its shortest text
// and that of std::to_chars(); empty when there is none.
inline std::string double_difference(double value) {
    DoubleText printed, text;
    std::snprintf(printed, sizeof printed, "%.17g", value);
    const std::string found = text_difference(printed, {text, write_double(text, value)});
    const std::string_view shortest(printed, std::to_chars(printed, std::end(printed), value).ptr);
    return found + text_difference(shortest, {text, write_shortest_double(text, value)});
}
// With 6 digits after the point.
inline std::string fixed_difference(double value) {
    DoubleText printed, text;
    std::snprintf(printed, sizeof printed, "%f", value);
    return text_difference(printed, {text, write_fixed(text, value)});
}

}  // namespace vrn::test
