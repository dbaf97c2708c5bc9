#include "counters/counter_value.h"

#include "counters/counter_fixtures.h"
#include "support/test.h"

namespace vrn::test {
namespace {

constexpr std::uint32_t unknown = 0xFFFFFFFF;

// The value as a test reads it: texts in quotes.
struct Shown {
    std::string text;

    template <typename T>
    bool number(T value) {
        text.resize(32);
        const int size =
            std::snprintf(text.data(), text.size(), "%.17g", static_cast<double>(value));
        text.resize(static_cast<std::size_t>(size));
        return true;
    }
    bool string(std::string_view value) {
        text = "'" + std::string(value) + "'";
        return true;
    }
};

std::string shown(const vrn_counter_info_t &counter, const std::string &row, bool convert_guids) {
    Shown sink;
    EXPECT_TRUE(write_counter_json(counter, counter_json_form(counter, convert_guids),
                                   CounterRow(bytes_of(row)), sink));
    return sink.text;
}

TEST(CounterValue, FollowsTypeFormatAndName) {
    const std::string uint64_warning =
        "4 UUID format is only supported for 128-bit types, using DECIMAL for uint64";
    const std::string wide_warning =
        "4 Decimal format not fully supported for 128-bit types, using hex representation";
    const std::string five = ByteBuilder().u64(5).done();
    const std::string minus_two = ByteBuilder().i64(-2).done();
    const std::string half = ByteBuilder().f64(0.5).done();
    const std::string wide = ByteBuilder().text("0123456789abcdef").done();
    const std::string hex_five = "'0x0000000000000005'";
    // clang-format off
    const struct { vrn_counter_info_t counter; std::string row, expected; Lines log; } cases[] = {
        {make_counter("i", VRN_DATA_INT64, 0), minus_two, "-2", {}},
        {make_counter("node_guid", VRN_DATA_INT64, 0), five, "5", {}},
        {make_counter("i", VRN_DATA_INT64, unknown), minus_two, "'-2'", {}},
        {make_counter("f", VRN_DATA_FP64, 1), half, "0.5", {}},
        {make_counter("f", VRN_DATA_FP64, unknown), half, "'0.500000'", {}},
        {make_counter("u", VRN_DATA_UINT64, 0), five, "5", {}},
        {make_counter("u", VRN_DATA_UINT64, 1), minus_two, "1.8446744073709552e+19", {}},
        {make_counter("u", VRN_DATA_UINT64, 3), five, "'5'", {uint64_warning}},
        {make_counter("u", VRN_DATA_UINT64, unknown), five, "'5'", {}},
        {make_counter("guids", VRN_DATA_UINT64, 0), five, hex_five, {}},
        {make_counter("node_guid", VRN_DATA_UINT64, unknown), five, "'5'", {}},
        {make_counter("Guid", VRN_DATA_UINT64, 0), five, "5", {}},
        {make_counter("b", VRN_DATA_BIT64, 0), five, hex_five, {}},
        {make_counter("b", VRN_DATA_BIT64, 1), five, "5", {}},
        {make_counter("GUID", VRN_DATA_BIT64, 1), five, hex_five, {}},
        {make_counter("w", VRN_DATA_UINT128, 0), wide, "'30313233343536373839616263646566'",
         {wide_warning}},
        {make_counter("w", VRN_DATA_INT128, 3), wide, "'30313233-3435-3637-3839-616263646566'", {}},
        {make_counter("s", VRN_DATA_STRING, 0, 16), wide, "'0123456789abcdef'", {}},
        {make_counter("s", VRN_DATA_STRING, 0, 8), std::string("ab\0cdefgh", 9), "'ab'", {}},
        {make_counter("s", VRN_DATA_STRING, 0, 0), wide, "''", {}},
        {make_counter("x", unknown, 4), minus_two, "-2", {}},
        // Rows that end before the value does.
        {make_counter("u", VRN_DATA_UINT64, 0), std::string("\1\2", 2), "513", {}},
        {make_counter("w", VRN_DATA_UINT128, 2), std::string("AB"),
         "'0x41420000000000000000000000000000'", {}},
        {make_counter("s", VRN_DATA_STRING, 0, unknown), std::string("tail"), "'tail'", {}},
        {make_counter("f", VRN_DATA_FP64, 0), "", "0", {}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.counter.name) + " of type " +
                     std::to_string(c.counter.data_type) + " as " +
                     std::to_string(c.counter.string_format));
        CapturedLog log;
        EXPECT_EQ(shown(c.counter, c.row, false), c.expected);
        EXPECT_EQ(log.take(), c.log);
    }
}

TEST(CounterValue, GuidWordsInDecimalAreHexWhenSwitchedOn) {
    const std::string row = ByteBuilder().u64(5).done();
    const std::string hex = "'0x0000000000000005'";
    // clang-format off
    const struct { vrn_counter_info_t counter; std::string on, off; } cases[] = {
        {make_counter("Guid", VRN_DATA_UINT64, 1), hex, "5"},
        {make_counter("Guid", VRN_DATA_UINT64, 0), "5", "5"},
        {make_counter("port.GUID", VRN_DATA_INT64, 1), hex, "5"},
        {make_counter("guid", VRN_DATA_STRING, 1, 1), hex, "'\5'"},
        {make_counter("Guidance", VRN_DATA_UINT64, 1), "5", "5"},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.counter.name);
        EXPECT_EQ(shown(c.counter, row, true), c.on);
        EXPECT_EQ(shown(c.counter, row, false), c.off);
    }
}

TEST(CounterValue, DumpsStringsForDevelopers) {
    CapturedLog log(7);
    shown(make_counter("s", VRN_DATA_STRING, 0, 4), std::string("A\0B", 3), false);
    EXPECT_EQ(log.take().at(0).substr(0, 11), "7 41 00 42 ");
}

}  // namespace
}  // namespace vrn::test
