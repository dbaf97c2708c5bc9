#include "data/selection/name_filter.h"

#include "support/string_lists.h"
#include "support/test.h"

namespace vrn::test {
namespace {

TEST(NameFilter, EachModeHasItsOwnIdeaOfAMatch) {
    // clang-format off
    const struct { const char *text, *item; std::uint32_t mode; bool expected; } cases[] = {
        {"foo", "foo", VRN_MATCH_EXACT, true}, {"foo", "FOO", VRN_MATCH_EXACT, false},
        {"FOOBAR", "foo*", VRN_MATCH_WILDCARD, true}, {"foo.txt", "foo", VRN_MATCH_WILDCARD, true},
        {"foo.a.b", "FOO", VRN_MATCH_WILDCARD, true}, {"foobar", "foo", VRN_MATCH_WILDCARD, false},
        {"foo", "f[a-o]?", VRN_MATCH_WILDCARD, true}, {"foo", "foo", VRN_MATCH_REGEXP, false},
        {"xfooy", "foo", VRN_MATCH_CONTAINS, true}, {"xfooy", "FOO", VRN_MATCH_CONTAINS, false},
        {"foo", "", VRN_MATCH_CONTAINS, true}, {"foo", "foo", 4, false},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.text) + " " + c.item + " " + std::to_string(c.mode));
        // An item that never matches comes first: all are tried.
        EXPECT_EQ(vrn_string_array_match(c.text, make_array({"#", c.item}).get(), c.mode),
                  c.expected);
        EXPECT_FALSE(vrn_string_array_match(c.text, make_array({}).get(), c.mode));
        EXPECT_FALSE(vrn_string_array_match(c.text, nullptr, c.mode));
    }
}

TEST(NameFilter, FilterKeepsTheOrder) {
    const auto names = make_array({"b1", "a", "b0", "b1"});
    const auto filtered = [&](bool keep_matching) {
        return items(
            vrn_string_array_ptr(vrn_string_array_filter(names.get(), make_array({"b*"}).get(),
                                                         VRN_MATCH_WILDCARD, keep_matching))
                .get());
    };
    EXPECT_EQ(filtered(true), (Lines{"b1", "b0", "b1"}));
    EXPECT_EQ(filtered(false), Lines{"a"});
}

TEST(NameFilter, CounterNamesAreIncludedExcludedAndJoined) {
    // clang-format off
    const struct { const char *name; Lines include, exclude, mandatory, expected; } cases[] = {
        {"repeats stay without mandatory names", {"*"}, {"b"}, {}, {"a", "a", "c"}},
        {"repeats go with mandatory names", {"*"}, {"b"}, {"a"}, {"a", "c"}},
        {"an empty include list keeps nothing", {}, {}, {}, {}},
        {"mandatory names need not be known", {"a"}, {}, {"b", "Z", "Z"}, {"Z", "a", "b"}},
    };
    // clang-format on
    const auto names = make_array({"c", "a", "b", "a"});
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        const vrn_string_array_ptr kept(vrn_match_counter_names(
            names.get(), make_array(c.include).get(), make_array(c.exclude).get(),
            make_array(c.mandatory).get(), VRN_MATCH_WILDCARD));
        ASSERT_NE(kept, nullptr);
        EXPECT_EQ(items(kept.get()), c.expected);
        EXPECT_EQ(log.take(), Lines{});
    }
}

}  // namespace
}  // namespace vrn::test
