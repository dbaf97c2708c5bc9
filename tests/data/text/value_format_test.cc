#include "data/text/value_format.h"

#include <climits>
#include <ctime>
#include <functional>

#include "support/test.h"

namespace vrn::test {
namespace {

constexpr std::uint32_t unknown_format = 0xFFFFFFFF;
constexpr std::uint8_t sixteen_bytes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xff};

const Lines quiet;
const Lines uint64_warning = {
    "4 UUID format is only supported for 128-bit types, using DECIMAL for uint64"};
const Lines int64_warning = {
    "4 UUID format is only supported for 128-bit types, using DECIMAL for int64"};
const Lines fp64_warning = {"4 UUID format is not supported for FP64 types, using DECIMAL"};
const Lines uint128_warning = {
    "4 Decimal format not fully supported for 128-bit types, using hex representation"};

TEST(ValueFormat, ShowsEachTypeInEachForm) {
    const auto u64 = [](std::uint64_t value) {
        return [=](std::uint32_t format) { return vrn_format_uint64_string(value, format); };
    };
    const auto i64 = [](std::int64_t value) {
        return [=](std::uint32_t format) { return vrn_format_int64_string(value, format); };
    };
    const auto fp64 = [](double value) {
        return [=](std::uint32_t format) { return vrn_format_double_string(format, value); };
    };
    const auto u128 = [](std::uint32_t format) {
        return vrn_format_uint128_string(sixteen_bytes, format);
    };
    const auto i128 = [](std::uint32_t format) {
        return vrn_format_int128_string(sixteen_bytes, format);
    };
    const std::string zeros60(60, '0');
    const std::string binary16 =
        "0b0000000000000001000000100000001100000100000001010000011000000111000010000000100100001010"
        "0000101100001100000011010000111011111111";
    const struct {
        const char *name;
        std::function<char *(std::uint32_t)> print;
        std::uint32_t format;
        std::string expected;
        Lines log;
    } cases[] = {
        {"u64 default", u64(UINT64_MAX), 0, "18446744073709551615", quiet},
        {"u64 uuid", u64(5), 3, "5", uint64_warning},
        {"u64 binary", u64(5), 4, "0b" + zeros60 + "0101", quiet},
        {"u64 unknown", u64(5), unknown_format, "5", quiet},
        {"i64 default", i64(INT64_MIN), 0, "-9223372036854775808", quiet},
        {"i64 uuid", i64(-1), 3, "-1", int64_warning},
        {"i64 binary", i64(INT64_MIN + 8), 4, "0b1" + zeros60.substr(1) + "1000", quiet},
        {"i64 unknown", i64(-1), unknown_format, "-1", quiet},
        {"fp64 hex shows the bits", fp64(1.0), 2, "0x3ff0000000000000", quiet},
        {"fp64 uuid", fp64(1.0), 3, "1.000000", fp64_warning},
        {"fp64 binary", fp64(2.0), 4, "0b01" + zeros60 + "00", quiet},
        {"fp64 unknown", fp64(1.0), unknown_format, "1.000000", quiet},
        {"u128 default", u128, 0, "000102030405060708090a0b0c0d0eff", uint128_warning},
        {"u128 hex", u128, 2, "0x000102030405060708090a0b0c0d0eff", quiet},
        {"u128 uuid", u128, 3, "00010203-0405-0607-0809-0a0b0c0d0eff", quiet},
        {"u128 binary", u128, 4, binary16, quiet},
        {"u128 unknown", u128, unknown_format, "000102030405060708090a0b0c0d0eff", uint128_warning},
        {"i128 uuid", i128, 3, "00010203-0405-0607-0809-0a0b0c0d0eff", quiet},
        {"i128 decimal", i128, 1, "000102030405060708090a0b0c0d0eff", uint128_warning},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log(7);
        const CString text(c.print(c.format));
        EXPECT_STREQ(text.get(), c.expected.c_str());
        EXPECT_EQ(log.take(), c.log);
    }
    EXPECT_EQ(vrn_format_uint128_string(nullptr, 1), nullptr);
    EXPECT_EQ(vrn_format_int128_string(nullptr, 3), nullptr);
}

TEST(GuidNames, TellsWordsFromSubstrings) {
    const struct {
        const char *name;
        bool is_word;
        bool contains;
    } cases[] = {
        {"node_guid", true, true},   {"NODE_GUID", true, true},     {"Guid", true, false},
        {"gUiD2", true, false},      {"guids", false, true},        {"myguid", false, true},
        {"guid1", true, true},       {"guidance_guid", true, true}, {"guidguid", false, true},
        {"xguid.guid-", true, true}, {"gui", false, false},         {"GUI\x04", false, false},
        {"", false, false},          {nullptr, false, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name ? c.name : "null");
        EXPECT_EQ(vrn_name_is_guid_word(c.name), c.is_word);
        EXPECT_EQ(vrn_name_contains_guid(c.name), c.contains);
    }
}

TEST(TimestampFormat, ShowsLocalTimeAndTruncates) {
    const ScopedEnv zone("TZ", "EST+5");
    tzset();
    const struct {
        std::uint64_t timestamp;
        const char *microseconds;
        const char *milliseconds;
    } cases[] = {
        {1500, "1969-12-31 19:00:00.001500", "1969-12-31 19:00:00.001"},
        {1782000000999999, "2026-06-20 19:00:00.999999", "2026-06-20 19:00:00.999"},
        // The largest time is still one that can be broken down.
        {UINT64_MAX, "586524-01-19 03:01:49.551615", "586524-01-19 03:01:49.551"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.timestamp);
        const CString micro(vrn_format_timestamp(c.timestamp, true));
        const CString milli(vrn_format_timestamp(c.timestamp, false));
        const CString milli_too(vrn_format_timestamp_ms(c.timestamp));
        EXPECT_STREQ(micro.get(), c.microseconds);
        EXPECT_STREQ(milli.get(), c.milliseconds);
        EXPECT_STREQ(milli_too.get(), milli.get());
    }
}

TEST(BufferAppendf, AppendsCutsAndTerminates) {
    // clang-format off
    const struct {
        const char *name; std::size_t size; int position; const char *text;
        int result, new_position; const char *content;
    } cases[] = {
        {"fills the buffer", 6, 2, "cde", 3, 5, "abcde"},
        {"cut by one", 6, 2, "cdef", 4, 5, "abcde"},
        {"negative starts over", 8, -3, "xy", 2, 2, "xy"},
        {"at the end", 3, 3, "xy", 0, 2, "ab"},
        {"beyond the end", 2, INT_MAX, "xy", 0, 1, "a"},
        {"no room at the last place", 3, 2, "xy", 2, 2, "ab"},
        {"buffer of one", 1, 0, "xy", 2, 0, ""},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        std::string buffer = "ab\x7f\x7f\x7f\x7f\x7f\x7f";
        buffer.resize(c.size);
        const std::string guard = "guard";
        buffer += guard;
        int position = c.position;
        EXPECT_EQ(vrn_buffer_appendf(buffer.data(), c.size, &position, "%s", c.text), c.result);
        EXPECT_EQ(position, c.new_position);
        EXPECT_STREQ(buffer.c_str(), c.content);
        EXPECT_EQ(buffer.substr(c.size), guard);
    }
}

TEST(BufferAppendf, RefusesWhatItCannotPrint) {
    char buffer[8] = "abcdefg";
    int position = 2;
    EXPECT_EQ(vrn_buffer_appendf(nullptr, sizeof buffer, &position, "x"), -1);
    EXPECT_EQ(vrn_buffer_appendf(buffer, 0, &position, "x"), -1);
    EXPECT_EQ(vrn_buffer_appendf(buffer, sizeof buffer, nullptr, "x"), -1);
    EXPECT_STREQ(buffer, "abcdefg");
    // No locale of the tests can encode this character.
    constexpr std::wint_t surrogate = 0xD800;
    EXPECT_EQ(vrn_buffer_appendf(buffer, sizeof buffer, &position, "%lc", surrogate), -1);
    EXPECT_STREQ(buffer, "ab");
    EXPECT_EQ(position, 2);
}

}  // namespace
}  // namespace vrn::test
