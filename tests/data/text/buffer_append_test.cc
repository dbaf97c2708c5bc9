#include "data/text/buffer_append.h"

#include <climits>
#include <cwchar>

#include "support/test.h"

namespace vrn::test {
namespace {

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
