// Choices made by bytes: of a random generator in the tests, of the input in a fuzzer.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace vrn::test {

// Reads zeros beyond the end.
class RandomSource {
  public:
    explicit RandomSource(std::string_view bytes) : bytes_(bytes) {}

    std::size_t below(std::size_t limit) {
        return limit == 0 ? 0 : number<std::uint16_t>() % limit;
    }
    bool one_in(std::size_t count) { return below(count) == 0; }

    template <typename T>
    T number() {
        T value{};
        const std::string bytes = take(sizeof value);
        std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }

    std::string take(std::size_t count) {
        std::string taken(bytes_.substr(0, count));
        bytes_.remove_prefix(taken.size());
        taken.resize(count, '\0');
        return taken;
    }

    // Short texts that meet each rule for names and strings.
    std::string text() {
        // clang-format off
        static const std::vector<std::string> pieces = {
            "12_", "a", "b",
            "guid", "GUID", "Guid", "_", "x1", "\"", "\\", "/", "\n", "\t", "\x01", "\x1f",
            "\x7f", "\xc3\xa4", "\xff", "\xc3", "ab", " ", "\xe2\x82", "\xed\xa0\x80",
            "\xf0\x9f\x98\x80", "a_name_of_more_than_thirty_two_bytes"};
        // clang-format on
        std::string all;
        for (std::size_t count = below(4); count > 0; --count) all += pieces[below(pieces.size())];
        return all;
    }

    // Any 8 bytes, among them numbers at the edges of the ways to print them.
    std::uint64_t word() {
        static const std::vector<double> edges = {
            -0.0,   0.1,   1e17,   99999999999999984.0, -1e17, 1e-5,   9.9e-5, 0x1p53, -0x1p53,
            0x1p63, 1e300, 5e-324, 123456.75,           1e16,  -1e-10, 1e22,   0.5,    1.0 / 3};
        std::uint64_t value = number<std::uint64_t>();
        if (one_in(4)) std::memcpy(&value, &edges[below(edges.size())], sizeof value);
        return one_in(2) ? value : value >> below(64);
    }

  private:
    std::string_view bytes_;
};

}  // namespace vrn::test
