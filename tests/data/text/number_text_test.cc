#include "data/text/number_text.h"

#include <cinttypes>
#include <cmath>
#include <random>

#include "data/text/string_format.h"
#include "data/text/value_text.h"
#include "support/printf_difference.h"
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
                                 static_cast<double>(bits % 100'000'000) / 1000,
                                 static_cast<double>(bits % 100'000) * 1000};
        for (const double value : values) {
            EXPECT_EQ(fixed_difference(value), "");
            EXPECT_EQ(double_difference(value), "");
            // Cut in its buffer of 32 bytes.
            EXPECT_EQ(taken(vrn_format_double_string(VRN_STRING_DECIMAL, value)),
                      taken(vrn_format_string("%.6f", value)).substr(0, 31));
        }
    }
    for (const double value : {0.0, -0.0, 0.0000005, -0.0000005, 0x1p43, 0x1p-74, 5e-324, 1e308,
                               static_cast<double>(INFINITY), -static_cast<double>(NAN)})
        EXPECT_EQ(fixed_difference(value), "");
}

// What 17 digits are nearest to changes at powers; halves of the last digit go to the even one.
TEST(NumberText, ShowsSeventeenDigitsAsPrintfDoesWhereTheyChange) {
    std::vector<double> values{0.0, -0.0, INFINITY, -INFINITY, NAN, -NAN};
    const auto add_with_neighbours = [&](double value) {
        for (const double other :
             {std::nextafter(value, 0.0), value, std::nextafter(value, 2 * value)})
            values.insert(values.end(), {other, -other});
    };
    for (int power = -1074; power <= 1023; ++power) add_with_neighbours(std::ldexp(1.0, power));
    for (int power = -323; power <= 308; ++power)
        add_with_neighbours(std::strtod(("1e" + std::to_string(power)).c_str(), nullptr));
    // Eighteen digits, the last one a 5: fewer before the point the more stand after it.
    std::mt19937_64 random(13);
    for (int places = 3; places <= 17; ++places)
        for (int round = 0; round < 200; ++round) {
            const double first = std::pow(10.0, 17 - places);
            const double whole =
                std::floor(first * (1 + static_cast<double>(random() % 9000) / 1000));
            const std::uint64_t odd = (random() | 1) % (1U << places);
            values.push_back(whole + std::ldexp(static_cast<double>(odd), -places));
        }
    for (const double value : values) EXPECT_EQ(double_difference(value), "");
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
