#include "utils/source.h"

#include <unistd.h>

#include "support/page_blocks.h"
#include "support/test.h"
#include "utils/client_id.h"
#include "utils/host_name.h"

namespace vrn::test {
namespace {

TEST(HostName, IsCutAtADotUnlessTheEnvironmentSetsIt) {
    char name[64], system_name[64];
    const ScopedEnv unset("VRN_HOST_NAME", nullptr);
    ASSERT_EQ(gethostname(system_name, sizeof system_name), 0);
    ASSERT_EQ(vrn_get_host_name(name, sizeof name), name);
    EXPECT_EQ(name, std::string(system_name, std::strcspn(system_name, ".")));
    EXPECT_EQ(vrn_get_host_name(name, 1), nullptr);
    EXPECT_EQ(vrn_get_host_name(name, 0), nullptr);
    const ScopedEnv set("VRN_HOST_NAME", "a.b.c");
    ASSERT_EQ(vrn_get_host_name(name, sizeof name), name);
    EXPECT_STREQ(name, "a.b.c");
    ASSERT_EQ(vrn_get_host_name(name, 4), name);
    EXPECT_STREQ(name, "a.b");
}

TEST(ClientId, NamesTheHostWhateverTheSourceId) {
    const ScopedEnv id("VRN_SOURCE_ID", "source1");
    const ScopedEnv env("VRN_HOST_NAME", "host1");
    const vrn_client_id_ptr client(vrn_client_id_create());
    ASSERT_TRUE(client);
    vrn_client_id_t copy;
    std::memset(&copy, 0xFF, sizeof copy);
    vrn_client_id_copy(&copy, client.get());
    const vrn_client_id_t expected = {"host1", 0};
    EXPECT_EQ(std::memcmp(&copy, &expected, sizeof expected), 0);
    testing::internal::CaptureStdout();
    vrn_client_id_print_fields();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Client identifier vrn_client_id_t\n\n"
              "Field                 Offset    Size\n"
              " host_name                  0         64\n"
              " port                       64        2\n");
}

TEST(Source, IdIsTheArgumentThenTheVariableThenTheHost) {
    const std::string long_name(70, 'n');
    const std::string cut = long_name.substr(0, 63);
    // clang-format off
    const struct { const char *argument, *variable; std::string expected; } cases[] = {
        {"given", "set", "given"}, {"", "set", ""}, {nullptr, "set", "set"}, {nullptr, "", ""},
        {nullptr, nullptr, "host.domain"}, {long_name.c_str(), nullptr, cut},
        {nullptr, long_name.c_str(), cut},
    };
    // clang-format on
    const ScopedEnv host("VRN_HOST_NAME", "host.domain");
    for (const auto &c : cases) {
        SCOPED_TRACE(c.expected);
        const ScopedEnv variable("VRN_SOURCE_ID", c.variable);
        char id[64];
        std::memset(id, 'x', sizeof id);
        ASSERT_TRUE(vrn_source_get_id(id, c.argument));
        const vrn_source_t expected = make_source(c.expected, "");
        EXPECT_EQ(std::memcmp(id, expected.source, sizeof id), 0);
    }
}

TEST(Source, IsMadeOfTextsThatLeaveATerminator) {
    const vrn_source_ptr source(
        vrn_source_create(std::string(64, 'n').c_str(), std::string(16, 't').c_str()));
    ASSERT_TRUE(source);
    vrn_source_t copy;
    vrn_source_copy(&copy, source.get());
    const vrn_source_t expected = make_source(std::string(63, 'n'), std::string(15, 't'));
    EXPECT_EQ(std::memcmp(&copy, &expected, sizeof expected), 0);
}

TEST(Source, ComparesNamesThenTags) {
    const std::string full(64, 'n');
    // clang-format off
    const struct { vrn_source_t a, b; int sign; } cases[] = {
        {make_source("a", "t"), make_source("a", "t"), 0},
        {make_source("a", "z"), make_source("b", "a"), -1},
        {make_source("a", ""), make_source("a", "u"), -1},
        {make_source("\xC3", ""), make_source("a", ""), 1},  // as unsigned bytes
        {make_source(full, std::string(16, 't')), make_source(full, std::string(16, 't')), 0},
        {make_source(full, "a"), make_source(full, "b"), -1},
        {make_source(full, "a"), make_source(full, ""), 1},
    };
    // clang-format on
    for (const auto &c : cases) {
        const int result = vrn_source_compare(&c.a, &c.b);
        EXPECT_EQ((result > 0) - (result < 0), c.sign) << c.a.source << " " << c.b.source;
    }
}

TEST(Source, TextNeedsRoomForItsTerminator) {
    const vrn_source_t full = make_source(std::string(64, 'n'), std::string(16, 't'));
    EXPECT_EQ(CString(vrn_source_name_dup(&full)).get(), std::string(64, 'n'));
    char whole[82];
    ASSERT_TRUE(vrn_source_to_string(&full, whole, sizeof whole));
    EXPECT_EQ(whole, std::string(64, 'n') + ":" + std::string(16, 't'));

    const vrn_source_t source = make_source("node1", "tag");
    char text[10] = "";
    CapturedLog log(7);
    EXPECT_FALSE(vrn_source_to_string(&source, text, 9));
    EXPECT_STREQ(text, "");
    EXPECT_EQ(log.take(), Lines{"7 [source] buffer too small for source node1:tag (got 9)"});
    EXPECT_TRUE(vrn_source_to_string(&source, text, 10));
    EXPECT_STREQ(text, "node1:tag");
    EXPECT_EQ(log.take(), Lines{});
}

}  // namespace
}  // namespace vrn::test
