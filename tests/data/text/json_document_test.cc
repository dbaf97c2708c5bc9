#include "data/text/json_document.h"

#include "data/text/json_value.h"
#include "support/test.h"

namespace vrn::test {
namespace {

TEST(JsonNumber, ReadsWhatFitsAndRefusesTheRest) {
    constexpr std::uint64_t untouched = 77;
    const auto reads = [](const char *json, std::uint64_t max, std::uint64_t expected,
                          const Lines &lines) {
        SCOPED_TRACE(json);
        CapturedLog log;
        const vrn_json_value_ptr value(json_parse_string(json));
        std::uint64_t number = untouched;
        EXPECT_EQ(vrn_json_number_to_uint(json_value_get_object(value.get()), "n", max, &number),
                  lines.empty());
        EXPECT_EQ(number, expected);
        EXPECT_EQ(log.take(), lines);
    };
    reads("{}", UINT64_MAX, 0, {});
    reads(R"({"n": "5"})", UINT64_MAX, 0, {});
    reads(R"({"n": 5.9})", 5, 5, {});
    reads(R"({"n": 65535})", 65535, 65535, {});
    reads(R"({"n": 18446744073709549568})", UINT64_MAX, 18446744073709549568U, {});
    reads(R"({"n": 65536})", 65535, untouched,
          {"3 JSON number 65536 of 'n' is not within 0 to 65535"});
    reads(R"({"n": 18446744073709551616})", UINT64_MAX, untouched,
          {"3 JSON number 1.84467e+19 of 'n' is not within 0 to 18446744073709551615"});
    reads(R"({"n": -1})", 9, untouched, {"3 JSON number -1 of 'n' is not within 0 to 9"});
}

}  // namespace
}  // namespace vrn::test
