#include "utils/strings.h"

#include "support/test.h"

namespace vrn::test {
namespace {

TEST(Strings, MissingTextIsTrue) {
    for (const char *text : std::initializer_list<const char *>{nullptr, "1", "True", "true"})
        EXPECT_TRUE(vrn_str_is_true(text));
    for (const char *text : {"", "TRUE", "t", "11", " 1"})
        EXPECT_FALSE(vrn_str_is_true(text)) << text;
}

TEST(Strings, TrimWorksInPlace) {
    char padded[] = " \t\v a b \r\n";
    EXPECT_EQ(vrn_trim(padded), padded + 4);
    EXPECT_STREQ(padded + 4, "a b");
    char blank[] = "  ";
    EXPECT_STREQ(vrn_trim(blank), "");
    char empty[] = "";
    EXPECT_EQ(vrn_trim(empty), empty);
}

TEST(Strings, UuidNeedsExactlySixteenBytes) {
    const std::string all = "00112233-4455-6677-8899-aAbBcCdDeEfF";
    const std::pair<std::string, bool> cases[] = {
        {all, true},
        {"-0-0112233445566778899aabbccddeeff--", true},
        {all + "1", true},  // a single digit left over
        {all + "11", false},
        {all.substr(0, all.size() - 2), false},
        {"g" + all.substr(1), false},
        {"", false},
    };
    for (const auto &[text, expected] : cases) {
        SCOPED_TRACE(text);
        std::vector<std::uint8_t> bytes(17);
        EXPECT_EQ(vrn_parse_uuid(text.c_str(), bytes.data()), expected);
        if (!expected) continue;
        for (int i = 0; i < 16; ++i) EXPECT_EQ(bytes[i], i * 0x11);
    }
    EXPECT_FALSE(vrn_parse_uuid(nullptr, nullptr));
}

TEST(Strings, TokensJoinWithCommas) {
    const auto joined = [](const char *list, const char *token) {
        return std::string(CString(string_concat_comma_separated_token(list, token)).get());
    };
    EXPECT_EQ(joined(nullptr, "a") + " " + joined("", "a") + " " + joined("a,b", "c"), "a a a,b,c");
    EXPECT_STREQ(CString(string_concat("a", "bc")).get(), "abc");
}

TEST(Strings, OccurrencesMayOverlap) {
    // clang-format off
    const struct {
        const char *text, *needle; std::size_t index; bool expected; std::size_t position;
    } cases[] = {
        {"aaa", "aa", 0, true, 0}, {"aaa", "aa", 1, true, 1}, {"aaa", "aa", 2, false, 77},
        {"", "", 0, false, 77}, {"ab", "", 1, true, 1}, {"ab", "bc", 0, false, 77},
        {"a/b/c", "/", 1, true, 3},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.text) + " " + c.needle);
        std::size_t position = 77;
        EXPECT_EQ(find_ith_substr(c.text, c.needle, c.index, &position), c.expected);
        EXPECT_EQ(position, c.position);
    }
    CapturedLog log;
    EXPECT_FALSE(find_ith_substr("a", "a", 0, nullptr));
    EXPECT_EQ(log.take(), Lines{"3 [find_ith_substr] invalid input"});
}

TEST(Strings, BasenameIsBehindTheLastSlash) {
    const std::pair<const char *, const char *> cases[] = {
        {"/a", "a"}, {"a/", ""}, {"a", "a"}, {"/x/y.bin", "y.bin"}};
    for (const auto &[path, expected] : cases)
        EXPECT_STREQ(CString(vrn_path_basename(path)).get(), expected) << path;
    EXPECT_EQ(vrn_path_basename(nullptr), nullptr);
    EXPECT_EQ(vrn_path_basename(""), nullptr);
}

TEST(Strings, BoundedCopyTerminatesInsideItsRoom) {
    // clang-format off
    const struct {
        std::size_t room, length, copied; std::string expected;  // the whole buffer
    } cases[] = {
        {0, 3, 0, "######"}, {1, 3, 0, std::string("\0#####", 6)},
        {3, 3, 2, std::string("ab\0###", 6)}, {4, 3, 3, std::string("abc\0##", 6)},
        {4, 0, 0, std::string("\0#####", 6)},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.room) + " " + std::to_string(c.length));
        std::string buffer(6, '#');
        EXPECT_EQ(vrn_copy_bounded(buffer.data(), c.room, "abc", c.length), c.copied);
        EXPECT_EQ(buffer, c.expected);
    }
}

TEST(Strings, VisibleAsciiStopsAtTheFirstOtherCharacter) {
    // clang-format off
    const struct {
        const char *from; std::size_t length; std::string expected;  // the whole buffer
    } cases[] = {
        {"ab", 6, std::string("ab\0\0\0\0", 6)}, {"abcdefgh", 6, std::string("abcde\0", 6)},
        {"a\xC3\xA4", 4, std::string("a\0\0\0##", 6)}, {"\x7F", 6, std::string("N/A\0\0\0", 6)},
        {"\xFF", 3, "N/A###"}, {"", 3, std::string("\0\0\0###", 6)},
        {" ~\x1F", 4, std::string(" ~\0\0##", 6)},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.from);
        std::string buffer(6, '#');
        EXPECT_EQ(strncpy_visible_ascii(buffer.data(), c.from, c.length), buffer.data());
        EXPECT_EQ(buffer, c.expected);
    }
}

TEST(Strings, VisibleAsciiComplainsOnceInAWhile) {
    CapturedLog log;
    char buffer[] = "#";
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(strncpy_visible_ascii(nullptr, "a", 1), nullptr);
        EXPECT_EQ(strncpy_visible_ascii(buffer, nullptr, 1), buffer);
        EXPECT_EQ(strncpy_visible_ascii(buffer, "a", 0), buffer);
    }
    EXPECT_STREQ(buffer, "#");
    EXPECT_EQ(log.take(), (Lines{"3 strncpy_visible_ascii: Destination buffer is NULL",
                                 "3 strncpy_visible_ascii: Source string is NULL",
                                 "3 strncpy_visible_ascii: Length is 0"}));
}

}  // namespace
}  // namespace vrn::test
