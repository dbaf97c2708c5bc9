#include "utils/env.h"

#include "support/test.h"

namespace vrn::test {
namespace {

TEST(Env, PrefixedSpellingWinsAndConflictsWarn) {
    // clang-format off
    const struct { const char *prefixed, *bare, *expected; bool warns; } cases[] = {
        {"1", "2", "1", true}, {"1", "1", "1", false}, {nullptr, "2", "2", false},
        {"1", nullptr, "1", false}, {"", "2", "", true}, {"", nullptr, "", false},
        {nullptr, nullptr, nullptr, false},
    };
    // clang-format on
    for (const auto &c : cases) {
        const ScopedEnv prefixed("VRN_FOO", c.prefixed);
        const ScopedEnv bare("FOO", c.bare);
        for (const char *name : {"VRN_FOO", "FOO"}) {
            CapturedLog log;
            EXPECT_STREQ(vrn_getenv(name), c.expected);
            Lines lines;
            if (c.warns)
                lines = {std::string("4 [vrn_getenv] Environment variables conflict - VRN_FOO=") +
                         c.prefixed + " and FOO=2. Using VRN_FOO"};
            EXPECT_EQ(log.take(), lines);
        }
    }
}

TEST(Env, StartLevelIsExemptFromTheWarning) {
    const ScopedEnv prefixed("VRN_API_LOG_LEVEL", "7");
    const ScopedEnv bare("API_LOG_LEVEL", "3");
    CapturedLog log;
    EXPECT_STREQ(vrn_getenv("VRN_API_LOG_LEVEL"), "7");
    EXPECT_EQ(log.take(), Lines{});
}

TEST(Env, TruthIsToldByTheFirstCharacter) {
    for (const char *value : {"1", "true", "Yes", "T", "y0"})
        EXPECT_TRUE(vrn_env_value_is_true(value)) << value;
    for (const char *value : {"", "0", "no", "on", " 1"})
        EXPECT_FALSE(vrn_env_value_is_true(value)) << value;
    EXPECT_FALSE(vrn_env_value_is_true(nullptr));
}

}  // namespace
}  // namespace vrn::test
