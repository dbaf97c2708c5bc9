// Doubles beside what printf makes of them.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "data/text/double_text.h"
#include "data/text/number_text.h"

namespace vrn::test {

// Room for the texts of both kinds.
using DoubleText = char[FIXED_TEXT_SIZE + NUMBER_TEXT_SLACK + 1];

inline std::string text_difference(std::string_view printed, std::string_view written) {
    if (printed == written) return "";
    return "printf: " + std::string(printed) + ", written: " + std::string(written);
}

// Between the 17 digits that the library writes and those of printf; empty when there is none.
inline std::string double_difference(double value) {
    DoubleText printed, text;
    std::snprintf(printed, sizeof printed, "%.17g", value);
    return text_difference(printed, {text, write_double(text, value)});
}
// With 6 digits after the point.
inline std::string fixed_difference(double value) {
    DoubleText printed, text;
    std::snprintf(printed, sizeof printed, "%f", value);
    return text_difference(printed, {text, write_fixed(text, value)});
}

}  // namespace vrn::test
