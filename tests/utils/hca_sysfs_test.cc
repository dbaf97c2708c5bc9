#include "utils/hca_sysfs.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "support/test.h"

namespace vrn::test {
namespace {

constexpr char guid_text[] = "0002:c903:00a1:b2c3\n";
constexpr char gid_text[] = "fe80:0000:0000:0000:0002:c903:00a1:b2c4\n";

template <std::size_t N>
std::string text_of(const char (&field)[N]) {
    return {field, strnlen(field, N)};
}

void add_device(const TempDir &sysfs, const std::string &name) {
    sysfs.write(name + "/sys_image_guid", "0002:c903:00a1:b2c6\n");
    sysfs.write(name + "/node_guid", guid_text);
    sysfs.write(name + "/ports/1/gids/0", gid_text);
}

std::string names_of(const vrn_hca_info_t *array, int count) {
    std::string names;
    for (int i = 0; i < count; ++i) names += text_of(array[i].hca_name) + ";";
    return names;
}

TEST(HcaSysfs, CollectsEachFieldOfADevice) {
    const TempDir sysfs;
    add_device(sysfs, "nic0");
    add_device(sysfs, "nic1");
    sysfs.write("nic1/ports/2/gids/0", "fe80:0000:0000:0000:0002:c903:00a1:b2c5\n");
    vrn_hca_info_t infos[3];
    std::memset(infos, 'x', sizeof infos);
    CapturedLog log;
    vrn_hca_info_collect_below(sysfs.path().c_str(), infos, 3);
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_EQ(text_of(infos[0].hca_name), "nic0");
    EXPECT_EQ(text_of(infos[0].system_image_guid), "0002c90300a1b2c6");
    EXPECT_EQ(text_of(infos[0].node_guid), "0002c90300a1b2c3");
    EXPECT_EQ(text_of(infos[0].port_1_guid), "0002c90300a1b2c4");
    EXPECT_EQ(text_of(infos[0].port_2_guid), "");
    EXPECT_EQ(text_of(infos[1].hca_name), "nic1");
    EXPECT_EQ(text_of(infos[1].port_2_guid), "0002c90300a1b2c5");
    EXPECT_EQ(text_of(infos[2].hca_name), std::string(20, 'x'));  // no device: left as it was
}

TEST(HcaSysfs, CutsTextsByTheGuidRule) {
    const struct {
        const char *text;
        const char *guid;
    } cases[] = {
        {guid_text, "0002c90300a1b2c3"},
        {gid_text, "0002c90300a1b2c4"},
        {"0002:c903:00a1:b2c3:", "0002c90300a1b2c3"},  // 20 bytes: still the short form
        {"0002:c903:00a1:b2c3:f", "f"},                // 21 bytes: a GID that was cut
        {"fe80:0000:0000:0000:0002:c903:00a1:b2c4:0005", "0002c90300a1b2c4"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        const TempDir sysfs;
        sysfs.write("nic0/node_guid", c.text);
        vrn_hca_info_t info;
        vrn_hca_info_collect_below(sysfs.path().c_str(), &info, 1);
        EXPECT_EQ(text_of(info.node_guid), c.guid);
        EXPECT_EQ(text_of(info.system_image_guid), "");
    }
}

TEST(HcaSysfs, KeepsTheFirstDevicesInSortedOrder) {
    const TempDir sysfs;
    for (const char *name : {"d", "a", "g", "c", "f", "b", "e"}) add_device(sysfs, name);
    vrn_hca_info_t infos[6];
    CapturedLog log;
    vrn_hca_info_collect_below(sysfs.path().c_str(), infos, 6);
    EXPECT_EQ(names_of(infos, 6), "a;b;c;d;e;f;");
    EXPECT_EQ(log.take(), Lines{"4 HCA info: 1 of 7 found HCAs will not fit array of 6 elements"});
    vrn_hca_info_collect_below(sysfs.path().c_str(), nullptr, -1);
    EXPECT_EQ(log.take(), Lines{"4 HCA info: 7 of 7 found HCAs will not fit array of -1 elements"});
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
        EXPECT_EQ(text_of(info.hca_name), "old");
    }
    const std::string name = "a_device_of_22_letters";
    add_device(sysfs, name);
    const std::string empty = sysfs.write(name + "/sys_image_guid", "");
    vrn_hca_info_collect_below(sysfs.path().c_str(), &info, 1);
    EXPECT_EQ(text_of(info.hca_name), name.substr(0, 20));
    EXPECT_EQ(text_of(info.system_image_guid), "");
    EXPECT_EQ(text_of(info.node_guid), "0002c90300a1b2c3");
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
    const auto smi_file = [&](const std::string &device) {
        return sysfs.file(device + "/ports/1/has_smi");
    };
    sysfs.write("nic0/ports/1/has_smi", "0\n");
    sysfs.write("nic1/ports/1/has_smi", "1\n");
    sysfs.write("nic4_0/ports/1/has_smi", "0\n");
    sysfs.write("empty/ports/1/has_smi", "");
    sysfs.write("closed/ports/1/beside", "");
    make_socket(smi_file("closed"));
    const struct {
        std::string device;
        int expected;
        Lines lines;
    } cases[] = {
        {"nic0", 1, {}},
        {"nic1", 0, {}},
        {"nic4_0", 0, {}},
        {"none", 0, {}},
        {std::string(2000, 'n'), 0, {}},
        {"empty", -1, {"3 Failed to read has_smi file: " + smi_file("empty") + " with empty:1"}},
        {"closed", -1, {"3 Failed to open has_smi file: " + smi_file("closed") + " with closed:1"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.device);
        CapturedLog log;
        EXPECT_EQ(vrn_port_has_no_smi_below(sysfs.path().c_str(), c.device.c_str(), 1), c.expected);
        EXPECT_EQ(log.take(), c.lines);
    }
}

}  // namespace
}  // namespace vrn::test
