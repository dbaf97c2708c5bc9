#include "data/text/guid_switch.h"

#include "support/test.h"

namespace vrn::test {
namespace {

constexpr char prefixed_name[] = "VRN_CONVERT_GUID_TO_HEX_STRING";
constexpr char bare_name[] = "CONVERT_GUID_TO_HEX_STRING";

TEST(GuidSwitch, IsOnUnlessSetToSomethingUntrue) {
    const Lines conflict = {
        "4 [vrn_getenv] Environment variables conflict - VRN_CONVERT_GUID_TO_HEX_STRING=0 and "
        "CONVERT_GUID_TO_HEX_STRING=1. Using VRN_CONVERT_GUID_TO_HEX_STRING"};
    // clang-format off
    const struct { const char *prefixed, *bare; bool on; Lines log; } cases[] = {
        {nullptr, nullptr, true, {}}, {"", nullptr, true, {}}, {"1", nullptr, true, {}},
        {"True", nullptr, true, {}}, {"Y", nullptr, true, {}}, {"0", nullptr, false, {}},
        {"on", nullptr, false, {}}, {nullptr, "no", false, {}}, {nullptr, "", true, {}},
        {"0", "1", false, conflict},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.prefixed ? c.prefixed : "-") + "/" + (c.bare ? c.bare : "-"));
        const ScopedEnv prefixed(prefixed_name, c.prefixed);
        const ScopedEnv bare(bare_name, c.bare);
        CapturedLog log;
        GuidSwitch early;
        GuidSwitch late;
        EXPECT_EQ(early.is_on(), c.on);
        EXPECT_EQ(log.take(), c.log);
        // Each reads once, at its first use.
        const ScopedEnv changed(prefixed_name, c.on ? "0" : "1");
        EXPECT_EQ(early.is_on(), c.on);
        EXPECT_EQ(late.is_on(), !c.on);
    }
}

}  // namespace
}  // namespace vrn::test
