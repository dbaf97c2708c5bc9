#include "utils/node_info.h"

#include <filesystem>
#include <map>

#include "support/test.h"

namespace vrn::test {
namespace {

using Files = std::map<std::string, std::string>;

Files files_in(const std::string &dir) {
    Files files;
    for (const auto &entry : std::filesystem::directory_iterator(dir))
        if (entry.is_regular_file())
            files[entry.path().filename().string()] = read_file(entry.path().string());
    return files;
}

vrn_data_page_t page_at(std::uint64_t first_ts, const char *hca_name) {
    vrn_data_page_t page{};
    page.first_ts = first_ts;
    std::memcpy(page.hca_info[0].hca_name, hca_name, std::strlen(hca_name));
    return page;
}

std::string document(const std::string &timestamp, const std::string &name) {
    const std::string device =
        name.empty() ? ""
                     : ",\"" + name +
                           "\":{\"node_guid\":\"\",\"system_image_guid\":\"\",\"port_1_guid\":"
                           "\"\"}";
    return "{\"timestamp\":" + timestamp + device + "}";
}

TEST(NodeInfo, IsWrittenWhenTheHcasOrTheFolderChange) {
    const ScopedEnv multiple("VRN_ALLOW_MULTIPLE_NODEINFO", nullptr);
    const ScopedEnv bare("ALLOW_MULTIPLE_NODEINFO", nullptr);
    const TempDir one;
    const TempDir two;
    vrn_nodeinfo_t state;
    CapturedLog log(3);
    Files in_one;
    Files in_two;
    const struct {
        const char *name;
        const TempDir *dir;
        vrn_data_page_t page;
        const char *added_to_one;
        const char *added_to_two;
        std::string content;
    } steps[] = {
        // No HCAs are news as well to a new state.
        {"first", &one, page_at(10, ""), "nodeinfo.json", nullptr, document("10", "")},
        {"same", &one, page_at(20, ""), nullptr, nullptr, ""},
        {"HCA", &one, page_at(30, "nic0"), "nodeinfo.30.json", nullptr, document("30", "nic0")},
        {"same HCA", &one, page_at(40, "nic0"), nullptr, nullptr, ""},
        // The document at hand goes there too, with the time of its page.
        {"folder", &two, page_at(50, "nic0"), nullptr, "nodeinfo.json", document("30", "nic0")},
        {"back", &one, page_at(60, "nic0"), "nodeinfo.30.json", nullptr, document("30", "nic0")},
        {"both", &two, page_at(70, "nic1"), nullptr, "nodeinfo.70.json", document("70", "nic1")},
    };
    for (const auto &step : steps) {
        SCOPED_TRACE(step.name);
        vrn_nodeinfo_update(&state, step.dir->path().c_str(), &step.page);
        if (step.added_to_one) in_one[step.added_to_one] = step.content;
        if (step.added_to_two) in_two[step.added_to_two] = step.content;
        EXPECT_EQ(files_in(one.path()), in_one);
        EXPECT_EQ(files_in(two.path()), in_two);
    }
    EXPECT_EQ(log.take(), Lines{});
    vrn_nodeinfo_clear(&state);
    EXPECT_EQ(state.dir, "");
    EXPECT_EQ(state.json, nullptr);
}

TEST(NodeInfo, FolderWithADocumentIsLeftAloneWhenTold) {
    const ScopedEnv bare("ALLOW_MULTIPLE_NODEINFO", nullptr);
    const struct {
        const char *value;
        bool is_allowed;
    } cases[] = {{"", true},   {"1", true},      {"Yes", true}, {"true", true},
                 {"0", false}, {"false", false}, {"on", false}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.value);
        const ScopedEnv multiple("VRN_ALLOW_MULTIPLE_NODEINFO", c.value);
        const TempDir dir;
        dir.write("nodeinfo.json", "of an earlier run");
        const vrn_data_page_t page = page_at(10, "");
        vrn_nodeinfo_t state;
        vrn_nodeinfo_init(&state);
        vrn_nodeinfo_update(&state, dir.path().c_str(), &page);
        Files expected = {{"nodeinfo.json", "of an earlier run"}};
        if (c.is_allowed) expected["nodeinfo.10.json"] = document("10", "");
        EXPECT_EQ(files_in(dir.path()), expected);
    }
}

TEST(NodeInfo, PathsAreBelowAThousandCharacters) {
    const ScopedEnv multiple("VRN_ALLOW_MULTIPLE_NODEINFO", nullptr);
    for (const std::size_t size : {999, 1000}) {
        SCOPED_TRACE(size);
        const TempDir dir;
        std::string path = dir.path();
        for (; path.size() + 215 < size; path += '/' + std::string(100, 'd')) {
        }
        path += '/' + std::string(size - path.size() - std::strlen("//nodeinfo.json"), 'd');
        std::filesystem::create_directories(path);
        const vrn_data_page_t page = page_at(10, "");
        vrn_nodeinfo_t state;
        CapturedLog log(3);
        for (int call = 0; call < 2; ++call) vrn_nodeinfo_update(&state, path.c_str(), &page);
        const bool fits = size < 1000;
        EXPECT_EQ(files_in(path).size(), fits);
        EXPECT_EQ(log.take(), fits ? Lines{}
                                   : Lines{"3 [nodeinfo_file] Failed to open file " + path +
                                           "/nodeinfo.json for writing: File name too long"});
    }
}

TEST(NodeInfo, FailureToWriteIsToldAndNoMore) {
    const ScopedEnv multiple("VRN_ALLOW_MULTIPLE_NODEINFO", nullptr);
    const TempDir dir;
    const std::string missing = dir.file("none");
    const std::string full = dir.file("full");
    std::filesystem::create_directory(full);
    std::filesystem::create_symlink("/dev/full", full + "/nodeinfo.10.json");
    dir.write("full/nodeinfo.json", "");
    const vrn_data_page_t page = page_at(10, "");
    vrn_nodeinfo_t state;
    CapturedLog log(3);
    vrn_nodeinfo_update(&state, missing.c_str(), &page);
    EXPECT_EQ(log.take(), Lines{"3 [nodeinfo_file] Failed to open file " + missing +
                                "/nodeinfo.json for writing: No such file or directory"});
    vrn_nodeinfo_update(&state, missing.c_str(), &page);
    EXPECT_EQ(log.take(), Lines{});  // nothing new to write
    vrn_nodeinfo_update(&state, full.c_str(), &page);
    EXPECT_EQ(log.take(), Lines{"3 [nodeinfo_file] Failed to write data to file " + full +
                                "/nodeinfo.10.json: No space left on device"});
}

}  // namespace
}  // namespace vrn::test
