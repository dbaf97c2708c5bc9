#include "data/text/value_text.h"

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

TEST(ValueText, ShowsEachTypeInEachForm) {
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

}  // namespace
}  // namespace vrn::test
