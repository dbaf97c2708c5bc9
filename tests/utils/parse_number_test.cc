#include "utils/parse_number.h"

#include <limits>
#include <optional>

#include "support/test.h"

namespace vrn::test {
namespace {

// What a parser stores, or nothing; a failed one must leave the place alone.
template <typename T>
std::optional<T> parsed(bool (*parse)(const char *, T *), const char *text) {
    T value = 123;
    if (parse(text, &value)) return value;
    EXPECT_EQ(value, T{123});
    EXPECT_FALSE(parse(text, nullptr));
    return std::nullopt;
}

TEST(ParseNumber, SignedTextIsTakenWholeOrNotAtAll) {
    using Limits = std::numeric_limits<std::int64_t>;
    // clang-format off
    const struct { const char *text; std::optional<std::int64_t> expected; } cases[] = {
        {"0", 0}, {"0x10", 16}, {"  -7", -7}, {"9223372036854775807", Limits::max()},
        {"9223372036854775808", std::nullopt}, {"-9223372036854775808", Limits::min()},
        {"-9223372036854775809", std::nullopt}, {"1 ", std::nullopt}, {"0x", std::nullopt},
        {"", std::nullopt}, {"-", std::nullopt}, {nullptr, std::nullopt},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text ? c.text : "null");
        EXPECT_EQ(parsed(vrn_parse_long, c.text), c.expected);
        EXPECT_EQ(parsed(vrn_parse_llong, c.text), c.expected);
    }
}

TEST(ParseNumber, UnsignedWidthsHaveTheirLimits) {
    constexpr auto all_ones = std::numeric_limits<std::uint64_t>::max();
    // clang-format off
    const struct { const char *text; std::optional<std::uint64_t> expected; } cases[] = {
        {"255", 255}, {"256", 256}, {"65535", 65535}, {"65536", 65536}, {"4294967295", 4294967295},
        {"4294967296", 4294967296}, {"18446744073709551615", all_ones},
        {"18446744073709551616", std::nullopt}, {"-1", all_ones}, {"1 ", std::nullopt},
        {"", std::nullopt},
    };
    // clang-format on
    const auto within = [](std::optional<std::uint64_t> value, std::uint64_t limit) {
        return value && *value <= limit ? value : std::nullopt;
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(parsed(vrn_parse_ulong, c.text), c.expected);
        EXPECT_EQ(parsed(vrn_parse_ullong, c.text), c.expected);
        EXPECT_EQ(parsed(vrn_parse_u64, c.text), c.expected);
        EXPECT_EQ(parsed(vrn_parse_u32, c.text), within(c.expected, 4294967295));
        EXPECT_EQ(parsed(vrn_parse_u16, c.text), within(c.expected, 65535));
        EXPECT_EQ(parsed(vrn_parse_u8, c.text), within(c.expected, 255));
    }
}

TEST(ParseNumber, IntOfAPrefixReadsNoFurther) {
    // clang-format off
    const struct { const char *text; std::size_t length; std::optional<int> expected; } cases[] = {
        {"12345", 3, 123}, {"12", 100, 12}, {"1,2", 3, std::nullopt}, {"7", 0, std::nullopt},
        {"2147483647", 10, 2147483647}, {"2147483648", 10, std::nullopt},
        {"-2147483648", 11, std::numeric_limits<int>::min()}, {"-2147483649", 11, std::nullopt},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        std::int32_t value = 123;
        EXPECT_EQ(vrn_parse_int_n(c.text, c.length, &value), c.expected.has_value());
        EXPECT_EQ(value, c.expected.value_or(123));
    }
}

}  // namespace
}  // namespace vrn::test
