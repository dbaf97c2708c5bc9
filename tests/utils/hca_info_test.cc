#include "utils/hca_info.h"

#include "support/test.h"

namespace vrn::test {
namespace {

vrn_hca_info_t entry(const std::string &name, const char *port_2_guid) {
    vrn_hca_info_t info{};
    std::memcpy(info.hca_name, name.data(), name.size());
    std::memcpy(info.node_guid, "0002c90300a1b2c3", 16);
    std::memcpy(info.system_image_guid, "0002c90300a1b2c6", 16);
    std::memcpy(info.port_1_guid, "0002c90300a1b2c4", 16);
    std::memcpy(info.port_2_guid, port_2_guid, std::strlen(port_2_guid));
    return info;
}

std::string digest_of(const vrn_hca_info_t *array, int count) {
    std::string digest(VRN_HCA_DIGEST_SIZE, '\0');
    vrn_hca_info_digest(array, count, reinterpret_cast<std::uint8_t *>(digest.data()));
    return digest;
}

TEST(HcaInfo, DocumentNamesEachDeviceUpToTheFirstEmptyEntry) {
    const std::uint64_t timestamp = 1794712886000000;
    const std::string stamp = R"("timestamp":1794712886000000)";
    const vrn_hca_info_t infos[] = {
        entry("nic0", ""), entry("nic1", "0002c90300a1b2c5"), {}, entry("nic3", "")};
    vrn_hca_info_t spoiled = infos[0];
    std::memcpy(spoiled.node_guid, "\xff\xfe", 2);  // bytes of a page header may be anything
    const std::string guids =
        R"("system_image_guid":"0002c90300a1b2c6","port_1_guid":"0002c90300a1b2c4")";
    const std::string all_guids = R"("node_guid":"0002c90300a1b2c3",)" + guids;
    const std::string one = R"("nic0":{)" + all_guids + "}";
    const std::string two =
        one + R"(,"nic1":{)" + all_guids + R"(,"port_2_guid":"0002c90300a1b2c5"})";
    // clang-format off
    const struct {
        const char *name; const std::uint64_t *timestamp; const vrn_hca_info_t *array; int count;
        std::string expected; Lines log = {};
    } cases[] = {
        {"no entries", &timestamp, infos, 0, "{" + stamp + "}"},
        {"negative count", &timestamp, infos, -1, "{" + stamp + "}"},
        {"first is empty", &timestamp, infos + 2, 2, "{" + stamp + "}"},
        {"no timestamp", nullptr, infos, 2, "{" + two + "}"},
        {"to the empty entry", &timestamp, infos, 4, "{" + stamp + "," + two + "}"},
        {"refused by JSON", nullptr, &spoiled, 1, R"({"nic0":{)" + guids + "}}",
         {"3 HCA info: unable to set 'node_guid' field"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        char *text = nullptr;
        std::size_t size = 0;
        ASSERT_TRUE(vrn_hca_info_to_json(c.timestamp, c.array, c.count, &text, &size));
        const CPtr<char, vrn_hca_info_free_json> owner(text);
        EXPECT_EQ(text, c.expected);
        EXPECT_EQ(size, c.expected.size());
        EXPECT_EQ(log.take(), c.log);
    }
}

TEST(HcaInfo, DigestCoversTheLeadingEntriesAlone) {
    vrn_hca_info_t infos[] = {entry("nic0", ""), entry("nic1", ""), {}, entry("nic3", "")};
    const std::string of_two = digest_of(infos, 4);
    EXPECT_EQ(digest_of(infos, 2), of_two);
    infos[3].node_guid[0] = 'x';
    EXPECT_EQ(digest_of(infos, 4), of_two);
    infos[1].node_guid[0] = 'x';
    EXPECT_NE(digest_of(infos, 4), of_two);
    const std::string of_nothing = digest_of(infos, 0);
    EXPECT_TRUE(of_nothing.starts_with("\xd4\x1d\x8c\xd9"));
    EXPECT_EQ(digest_of(infos, -1), of_nothing);
    EXPECT_EQ(digest_of(infos + 2, 2), of_nothing);
    EXPECT_NE(digest_of(infos, 1), of_nothing);
}

}  // namespace
}  // namespace vrn::test
