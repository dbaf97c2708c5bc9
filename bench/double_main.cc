// Compares the texts of random doubles with those of printf, until it has seen so many millions:
//   vrn_double_check [millions [seed]]
// Half of the doubles are any bit patterns, the others of exponents whose digits are the library's
// own.
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "support/printf_difference.h"

namespace {

constexpr int mantissa_bits = 52;
constexpr std::uint64_t own_exponents_begin = 1023 - 126;
constexpr std::uint64_t own_exponents = 126 + 53;

double with_own_exponent(std::uint64_t bits) {
    const std::uint64_t exponent = own_exponents_begin + (bits >> mantissa_bits) % own_exponents;
    constexpr std::uint64_t mask = std::uint64_t{0x7ff} << mantissa_bits;
    return std::bit_cast<double>((bits & ~mask) | exponent << mantissa_bits);
}

bool is_right(double value) {
    const std::string found = vrn::test::double_difference(value);
    if (!found.empty()) std::printf("%a: %s\n", value, found.c_str());
    return found.empty();
}

}  // namespace

int main(int argc, char **argv) {
    const long millions = argc > 1 ? std::atol(argv[1]) : 1000;
    std::mt19937_64 random(argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1);
    constexpr int half_a_million = 500'000;
    for (long million = 1; million <= millions; ++million) {
        for (int i = 0; i < half_a_million; ++i)
            if (!is_right(std::bit_cast<double>(random())) ||
                !is_right(with_own_exponent(random())))
                return EXIT_FAILURE;
        if (million % 50 == 0 || million == millions) {
            std::printf("%ld million doubles are shown as printf shows them\n", million);
            std::fflush(stdout);
        }
    }
    return EXIT_SUCCESS;
}
