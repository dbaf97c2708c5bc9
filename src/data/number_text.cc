#include "data/number_text.h"

#include <charconv>

namespace vrn {

char *write_fixed(char *out, double value) {
    constexpr int digits = 6;
    return std::to_chars(out, out + FIXED_TEXT_SIZE, value, std::chars_format::fixed, digits).ptr;
}

}  // namespace vrn
