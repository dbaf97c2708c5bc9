#include "data/text/digits.h"

namespace vrn {
namespace {

constexpr std::array<std::uint32_t, FOUR_DIGITS_LIMIT> make_four_digits() {
    std::array<std::uint32_t, FOUR_DIGITS_LIMIT> texts{};
    for (std::uint32_t i = 0; i < texts.size(); ++i)
        texts[i] = static_cast<std::uint32_t>(ZERO_DIGITS) | i / 1000 | i / 100 % 10 << 8 |
                   i / 10 % 10 << 16 | i % 10 << 24;
    return texts;
}

}  // namespace

constinit const std::array<std::uint32_t, FOUR_DIGITS_LIMIT> FOUR_DIGITS = make_four_digits();

}  // namespace vrn
