#include "data/selection/token_filter.h"

#include "support/string_lists.h"
#include "support/test.h"

namespace vrn::test {
namespace {

struct TokenLists {
    vrn_filter_token_t inclusive[VRN_FILTER_MAX_TOKENS];
    vrn_filter_token_t exclusive[VRN_FILTER_MAX_TOKENS];
    std::size_t inclusive_count = 99;
    std::size_t exclusive_count = 99;

    explicit TokenLists(const char *text) {
        vrn_filter_parse(text, inclusive, &inclusive_count, exclusive, &exclusive_count);
    }
    bool have_match(const char *text) const {
        return vrn_filter_have_match(inclusive, inclusive_count, exclusive, exclusive_count, text);
    }
    // As "+a +b -c".
    std::string text() const {
        std::string all;
        for (std::size_t i = 0; i < inclusive_count; ++i) all += std::string("+") + inclusive[i];
        for (std::size_t i = 0; i < exclusive_count; ++i) all += std::string("-") + exclusive[i];
        return all;
    }
};

TEST(TokenFilter, AnchorsHoldTheFirstOccurrence) {
    // clang-format off
    const struct { const char *token, *text; bool expected; } cases[] = {
        {"err", "PortErrCount", true}, {"^ab$", "abc", false}, {"^b", "ab", false},
        {"^^^a", "ab", true}, {"b$", "ab", true}, {"abc$", "abcabc", false}, {"b$$", "ab", true},
        {"a$b", "a", false}, {"a^", "a", false}, {"$", "ab", true}, {"^$", "", true},
        {"^$", "a", false}, {"^", "a", true}, {"", "a", true}, {"", "", true}, {"a", "", false},
    };
    // clang-format on
    for (const auto &c : cases)
        EXPECT_EQ(vrn_filter_token_match(c.text, c.token), c.expected) << c.token << " " << c.text;
}

TEST(TokenFilter, SignsSayWhereATokenGoes) {
    const std::string longest(127, 'x');
    std::string most = "+a";
    for (int i = 1; i < 32; ++i) most += "+a";
    // clang-format off
    const struct { std::string text, expected; Lines log; } cases[] = {
        {"", "", {}},
        {"a+b-c", "+a+b-c", {}},
        {"--a++b+-", "+b-a", {}},
        {"a-b+c", "+a+c-b", {}},
        {longest + "-b", "+" + longest + "-b", {}},
        {"a+" + longest + "x-b", "+a",
         {"3 Token of size 128 is too long to keep in the tokens array"}},
        {most + "-b", most + "-b", {}},
        {most + "+a-b", most, {"3 Cannot handle more than 32 tokens"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        CapturedLog log;
        EXPECT_EQ(TokenLists(c.text.c_str()).text(), c.expected);
        EXPECT_EQ(log.take(), c.log);
    }
    EXPECT_EQ(TokenLists(nullptr).text(), "");
}

TEST(TokenFilter, WantsAllInclusiveAndNoExclusiveToken) {
    // clang-format off
    const struct { const char *filter, *text; bool expected; } cases[] = {
        {"a+b-c", "xaybz", true}, {"a+b-c", "abc", false}, {"a+b-c", "a", false},
        {"-x", "abc", true}, {"-x", "aXc", false}, {"", "", true}, {"", nullptr, false},
    };
    // clang-format on
    for (const auto &[filter, text, expected] : cases)
        EXPECT_EQ(TokenLists(filter).have_match(text), expected) << filter;
    const TokenLists lists("");
    EXPECT_FALSE(vrn_filter_have_match(nullptr, 0, lists.exclusive, 0, "a"));
    EXPECT_FALSE(vrn_filter_have_match(lists.inclusive, 0, nullptr, 0, "a"));
}

TEST(TokenFilter, TellsEachTestAtDebugLevel) {
    CapturedLog log(7);
    EXPECT_FALSE(TokenLists("a+b+c-d").have_match("xa"));
    EXPECT_FALSE(TokenLists("a-x").have_match("xa"));
    const std::string start = "7 [vrn_filter_have_match] ";
    EXPECT_EQ(log.take(), (Lines{start + "exclusive token 'd' was not found in 'xa'",
                                 start + "inclusive token 'a' was found in 'xa'",
                                 start + "inclusive token 'b' was not found in 'xa'",
                                 start + "exclusive token 'x' was found in 'xa'"}));
}

}  // namespace
}  // namespace vrn::test
