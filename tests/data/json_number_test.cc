#include "data/json_number.h"

#include <gtest/gtest.h>

#include <string>

#include "data/json_template.h"
#include "support/captured_log.h"

namespace vrn::test {
namespace {

struct Case {
    const char *name;
    const char *json;
    std::uint64_t max;
    bool ok;
    std::uint64_t value;
    std::vector<std::string> log;
};

TEST(JsonNumber, ReadsWhatFitsAndRefusesTheRest) {
    constexpr std::uint64_t any = UINT64_MAX;
    constexpr std::uint64_t untouched = 77;
    const Case cases[] = {
        {"absent", R"({})", any, true, 0, {}},
        {"no number", R"({"n": "5"})", any, true, 0, {}},
        {"fraction", R"({"n": 5.9})", 5, true, 5, {}},
        {"largest", R"({"n": 65535})", 65535, true, 65535, {}},
        {"largest double below 2^64",
         R"({"n": 18446744073709549568})",
         any,
         true,
         18446744073709549568U,
         {}},
        {"negative zero", R"({"n": -0})", any, true, 0, {}},
        {"above max",
         R"({"n": 65536})",
         65535,
         false,
         untouched,
         {"3 JSON number 65536 of 'n' is not within 0 to 65535"}},
        {"2^64",
         R"({"n": 18446744073709551616})",
         any,
         false,
         untouched,
         {"3 JSON number 1.84467e+19 of 'n' is not within 0 to 18446744073709551615"}},
        {"negative",
         R"({"n": -1})",
         any,
         false,
         untouched,
         {"3 JSON number -1 of 'n' is not within 0 to 18446744073709551615"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        const vrn_json_value_ptr value(json_parse_string(c.json));
        std::uint64_t number = untouched;
        EXPECT_EQ(vrn_json_number_to_uint(json_value_get_object(value.get()), "n", c.max, &number),
                  c.ok);
        EXPECT_EQ(number, c.value);
        EXPECT_EQ(log.take(), c.log);
    }
}

}  // namespace
}  // namespace vrn::test
