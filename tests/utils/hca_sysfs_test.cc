#include "utils/hca_sysfs.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "support/test.h"
#include "utils/byte_reader.h"

namespace vrn::test {
namespace {

constexpr char guid_text[] = "0002:c903:00a1:b2c3\n";
constexpr char gid_text[] = "fe80:0000:0000:0000:0002:c903:00a1:b2c4\n";

void add_device(const TempDir &sysfs, const std::string &name) {
    sysfs.write(name + "/sys_image_guid", "0002:c903:00a1:b2c6\n");
    sysfs.write(name + "/node_guid", guid_text);
    sysfs.write(name + "/ports/1/gids/0", gid_text);
}

TEST(HcaSysfs, CollectsEachFieldOfADevice) {
    const TempDir sysfs;
    add_device(sysfs, "nic0");
    add_device(sysfs, "nic1");
    sysfs.write("nic1/ports/2/gids/0", "fe80:0000:0000:0000:0002:c903:00a1:b2c5\n");
    vrn_hca_info_t infos[3] = {};
    CapturedLog log;
    vrn_hca_info_collect_below(sysfs.path().c_str(), infos, 3);
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_EQ(captured_stream([&](std::FILE *stream) { vrn_hca_info_print(stream, infos, 3); }),
              "info[0].hca_name          = nic0\n"
              "info[0].node_guid         = 0002c90300a1b2c3\n"
              "info[0].system_image_guid = 0002c90300a1b2c6\n"
              "info[0].port_1_guid       = 0002c90300a1b2c4\n"
              "info[0].port_2_guid       = \n"
              "info[1].hca_name          = nic1\n"
              "info[1].node_guid         = 0002c90300a1b2c3\n"
              "info[1].system_image_guid = 0002c90300a1b2c6\n"
              "info[1].port_1_guid       = 0002c90300a1b2c4\n"
              "info[1].port_2_guid       = 0002c90300a1b2c5\n");
}

TEST(HcaSysfs, CutsTextsByTheGuidRule) {
    const std::pair<const char *, const char *> cases[] = {
        {guid_text, "0002c90300a1b2c3"},
        {gid_text, "0002c90300a1b2c4"},
        {"0002:c903:00a1:b2c3:", "0002c90300a1b2c3"},  // 20 bytes: still the short form
        {"0002:c903:00a1:b2c3:f", "f"},                // 21 bytes: a GID that was cut
        {"fe80:0000:0000:0000:0002:c903:00a1:b2c4:0005", "0002c90300a1b2c4"},
    };
    for (const auto &[text, guid] : cases) {
        SCOPED_TRACE(text);
        const TempDir sysfs;
        sysfs.write("nic0/node_guid", text);
        vrn_hca_info_t info;
        vrn_hca_info_collect_below(sysfs.path().c_str(), &info, 1);
        EXPECT_EQ(field_text(info.node_guid), guid);
        EXPECT_EQ(field_text(info.system_image_guid), "");
    }
}

TEST(HcaSysfs, KeepsTheFirstDevicesInSortedOrder) {
    const TempDir sysfs;
    for (const char *name : {"d", "a", "g", "c", "f", "b", "e"}) add_device(sysfs, name);
    vrn_hca_info_t infos[6];
    CapturedLog log;
    vrn_hca_info_collect_below(sysfs.path().c_str(), infos, 6);
    std::string names;
    for (const vrn_hca_info_t &info : infos) names += field_text(info.hca_name);
    EXPECT_EQ(names, "abcdef");
    vrn_hca_info_collect_below(sysfs.path().c_str(), nullptr, -1);
    EXPECT_EQ(log.take(),
              (Lines{"4 HCA info: 1 of 7 found HCAs will not fit array of 6 elements",
                     "4 HCA info: 7 of 7 found HCAs will not fit array of -1 elements"}));
}

TEST(HcaSysfs, TellsWhatItCouldNotUse) {
    const TempDir sysfs;
    vrn_hca_info_t info = {};
    std::memcpy(info.hca_name, "old", 3);
    const std::string missing = sysfs.file("none");
    CapturedLog log;
    for (const std::string &folder : {missing, sysfs.path()}) {
        vrn_hca_info_collect_below(folder.c_str(), &info, 1);
        EXPECT_EQ(log.take(),
                  (Lines{"4 HCA info: globing found no matches of '" + folder + "/*'"}));
        EXPECT_EQ(field_text(info.hca_name), "old");
    }
    const std::string name = "a_device_of_22_letters";
    add_device(sysfs, name);
    const std::string empty = sysfs.write(name + "/sys_image_guid", "");
    vrn_hca_info_collect_below(sysfs.path().c_str(), &info, 1);
    EXPECT_EQ(field_text(info.hca_name), name.substr(0, 20));
    EXPECT_EQ(field_text(info.system_image_guid), "");
    EXPECT_EQ(field_text(info.node_guid), "0002c90300a1b2c3");
    EXPECT_EQ(log.take(), (Lines{"4 HCA info: name " + name + " does not fit 20 buffer",
                                 "3 HCA info: failed to read file " + empty + ": Success"}));
}

// A path that exists but can't be opened, by whatever user.
void make_socket(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int file = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(file, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    close(file);
}

TEST(HcaSysfs, TellsPortsWithoutSmi) {
    const TempDir sysfs;
    const std::string file = "/ports/1/has_smi";
    sysfs.write("nic0" + file, "0\n");
    sysfs.write("nic1" + file, "1\n");
    sysfs.write("nic4_0" + file, "0\n");
    const std::string empty = sysfs.write("empty" + file, "");
    sysfs.write("closed/ports/1/beside", "");
    const std::string closed = sysfs.file("closed" + file);
    make_socket(closed);
    // clang-format off
    const struct { std::string device; int expected; Lines lines = {}; } cases[] = {
        {"nic0", 1}, {"nic1", 0}, {"nic4_0", 0}, {"none", 0}, {std::string(2000, 'n'), 0},
        {"empty", -1, {"3 Failed to read has_smi file: " + empty + " with empty:1"}},
        {"closed", -1, {"3 Failed to open has_smi file: " + closed + " with closed:1"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.device);
        CapturedLog log;
        EXPECT_EQ(vrn_port_has_no_smi_below(sysfs.path().c_str(), c.device.c_str(), 1), c.expected);
        EXPECT_EQ(log.take(), c.lines);
    }
}

}  // namespace
}  // namespace vrn::test
