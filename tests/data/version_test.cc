#include "data/version.h"

#include "support/test.h"

namespace vrn::test {
namespace {

TEST(Version, ParsesAtLeastTwoNumbers) {
    // clang-format off
    const std::pair<const char *, std::uint32_t> cases[] = {
        {"1.24.3", 0x00031801}, {"1.7", 0x00000701}, {"1.7 .3", 0x00030701},
        {"1.7.65535x", 0xFFFF0701}, {"257.258.1", 0x00010201}, {"1", 0}, {"", 0},
        {"1.7.x", 0x00000701},
    };
    // clang-format on
    for (const auto &[text, packed] : cases) EXPECT_EQ(vrn_version_parse(text), packed) << text;
}

TEST(Version, FormatsIntoOneBuffer) {
    const char *widest = vrn_version_format(0xFFFFFFFF);
    EXPECT_STREQ(widest, "255.255.65535");
    EXPECT_EQ(vrn_version_format(vrn_version_pack(1, 24, 3)), widest);
    EXPECT_STREQ(widest, "1.24.3");
}

TEST(Version, PatchPlaysNoPart) {
    // clang-format off
    const struct { const char *wanted, *current; bool compatible; int order; } cases[] = {
        {"1.7.0", "1.7.9", true, 0}, {"1.7.9", "1.7.0", true, 0}, {"1.3.0", "1.7.0", true, -4},
        {"1.8.0", "1.7.0", false, 1}, {"2.0.0", "1.7.0", false, 1}, {"0.9.0", "2.7.0", false, -2},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.wanted) + " " + c.current);
        const std::uint32_t wanted = vrn_version_parse(c.wanted);
        const std::uint32_t current = vrn_version_parse(c.current);
        EXPECT_EQ(vrn_version_is_compatible(wanted, current), c.compatible);
        EXPECT_EQ(vrn_version_text_is_compatible(c.wanted, c.current), c.compatible);
        EXPECT_EQ(vrn_version_compare(wanted, current), c.order);
    }
    EXPECT_FALSE(vrn_version_text_is_compatible("0.0", "0.1"));
    EXPECT_FALSE(vrn_version_text_is_compatible("1.7", "x"));
}

}  // namespace
}  // namespace vrn::test
