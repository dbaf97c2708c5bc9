#include "data/writer/value_filter.h"

#include <gmock/gmock.h>

#include "support/test.h"

namespace vrn::test {
namespace {

TEST(ValueList, SplitsAtCommasAndDropsEmptyItems) {
    const std::pair<const char *, Lines> cases[] = {
        {"", {}},
        {"a, b,,", {"a", "b"}},
        {" \ta b\t ,a b", {"a b"}},  // blanks inside stay; repeats fall together
        {", \t,a\r", {"a\r"}},       // only blanks and tabs are trimmed
    };
    for (const auto &[text, items] : cases)
        EXPECT_THAT(vrn_split_value_list(text), testing::UnorderedElementsAreArray(items));
}

TEST(ValueFilter, ReadsNamesPatternsAndKeywords) {
    // clang-format off
    const struct {
        vrn_string_set values; bool allow_self; const char *description; Lines matched, refused;
        const char *why = nullptr;  // SELF is skipped
    } cases[] = {
        {{"node1"}, false, "node1", {"node1"}, {"node10", "Node1", ""}},
        {{"EMPTY"}, false, "EMPTY", {""}, {"EMPTY", "x"}},
        {{"Empty"}, false, "Empty", {"Empty"}, {""}},
        {{"*"}, false, "ALL", {"", "x"}, {}},
        {{"ALL"}, false, "ALL", {"", "x"}, {}},
        {{"ALL*"}, false, "ALL*", {"ALL", "ALLx"}, {"x"}},
        {{"*ab"}, false, "*ab", {"ab", "xab"}, {"abx", "b"}},
        {{"*a*"}, false, "*a*", {"*a", "*ab"}, {"a", "xa", "xax"}},
        {{"**"}, false, "**", {"*", "*x"}, {"x", ""}},
        {{"a*b"}, false, "a*b", {"a*b"}, {"ab", "axb"}},
        {{"SELF"}, true, "host.a", {"host.a"}, {"SELF", "host"}},
        {{"SELF"}, false, "", {}, {"SELF", "host.a"}, "not supported for tag filtering"},
        {{""}, true, "", {}, {""}},
        {{"*z", "EMPTY", "a*"}, false, "EMPTY, a*, *z", {"", "ab", "yz"}, {"b"}},
    };
    // clang-format on
    const ScopedEnv host("VRN_HOST_NAME", "host.a");
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.values) + (c.allow_self ? " with SELF" : ""));
        CapturedLog log;
        const vrn_value_filter_t list = vrn_value_filter_parse(c.values, c.allow_self);
        const std::string skipped = "4 [data page filter] Skipped value 'SELF' - ";
        EXPECT_EQ(log.take(), c.why ? Lines{skipped + c.why} : Lines{});
        EXPECT_EQ(vrn_value_filter_describe(list), c.description);
        EXPECT_EQ(list.is_empty, *c.description == '\0');
        for (const auto &value : c.matched) EXPECT_TRUE(vrn_value_filter_matches(list, value));
        for (const auto &value : c.refused) EXPECT_FALSE(vrn_value_filter_matches(list, value));
    }
}

TEST(ValueFilter, SkipsSelfWithoutAHostName) {
    const ScopedEnv host("VRN_HOST_NAME", "");
    CapturedLog log;
    EXPECT_TRUE(vrn_value_filter_parse({"SELF"}, true).is_empty);
    EXPECT_EQ(log.take(),
              Lines{"4 [data page filter] Skipped value 'SELF' - failed to get hostname"});
}

}  // namespace
}  // namespace vrn::test
