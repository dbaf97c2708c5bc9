#include "data/text/number_text.h"

#include <cinttypes>
#include <cmath>
#include <random>

#include "data/text/string_format.h"
#include "data/text/value_text.h"
#include "support/test.h"
#include "utils/string_template.h"

namespace vrn::test {
namespace {

constexpr int rounds = 20000;

std::string taken(char *text) {
    const CString owned(text);
    return text;
}

template <typename T>
std::string written(char *(*write)(char *, T), T value) {
    char text[FIXED_TEXT_SIZE + NUMBER_TEXT_SLACK];
    return {text, write(text, value)};
}

std::uint64_t with_exponent(std::uint64_t bits, std::uint64_t exponent) {
    constexpr std::uint64_t mask = std::uint64_t{0x7ff} << 52;
    return (bits & ~mask) | exponent << 52;
}

TEST(NumberText, ShowsDoublesAsPrintfDoes) {
    std::mt19937_64 random(11);
    for (int round = 0; round < rounds; ++round) {
        const std::uint64_t bits = random();
        // Around the places where the digits come another way, with all bits and with few, which
        // lie just between two texts.
        const std::uint64_t usual = with_exponent(bits, 1023 - 45 + bits % 95);
        const double values[] = {std::bit_cast<double>(bits), std::bit_cast<double>(usual),
                                 std::bit_cast<double>(usual & UINT64_MAX << (35 + bits % 18)),
                                 static_cast<double>(bits % 100'000'000) / 1000};
        for (const double value : values) {
            EXPECT_EQ(written(write_fixed, value), taken(vrn_format_string("%f", value)));
            // Cut in its buffer of 32 bytes.
            EXPECT_EQ(taken(vrn_format_double_string(VRN_STRING_DECIMAL, value)),
                      taken(vrn_format_string("%.6f", value)).substr(0, 31));
        }
    }
    for (const double value : {0.0, -0.0, 0.0000005, -0.0000005, 0x1p43, 0x1p-74, 5e-324, 1e308,
                               static_cast<double>(INFINITY), -static_cast<double>(NAN)})
        EXPECT_EQ(written(write_fixed, value), taken(vrn_format_string("%f", value)));
}

TEST(NumberText, ShowsIntegersAsPrintfDoes) {
    std::mt19937_64 random(12);
    for (int round = 0; round < rounds; ++round) {
        std::uint64_t value = random() >> random() % 64;
        if (round < 40) value = static_cast<std::uint64_t>(std::pow(10, round / 2)) - round % 2;
        const auto number = static_cast<std::int64_t>(value);
        EXPECT_EQ(written(write_integer, value), taken(vrn_format_string("%" PRIu64, value)));
        EXPECT_EQ(written(write_integer, number), taken(vrn_format_string("%" PRId64, number)));
        EXPECT_EQ(integer_size(value), taken(vrn_format_string("%" PRIu64, value)).size());
        EXPECT_EQ(taken(vrn_format_uint64_string(value, VRN_STRING_HEXADECIMAL)),
                  taken(vrn_format_string("0x%016" PRIx64, value)));
    }
    EXPECT_EQ(written(write_integer, INT64_MIN), "-9223372036854775808");
}

}  // namespace
}  // namespace vrn::test
