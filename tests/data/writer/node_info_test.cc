#include "data/writer/node_info.h"

#include <barrier>
#include <filesystem>
#include <map>
#include <thread>

#include "support/test.h"

namespace vrn::test {
namespace {

using Files = std::map<std::string, std::string>;

vrn_data_page_t page_at(std::uint64_t first_ts, const char *hca_name) {
    vrn_data_page_t page{};
    page.first_ts = first_ts;
    std::memcpy(page.hca_info[0].hca_name, hca_name, std::strlen(hca_name));
    return page;
}

std::string document(const std::string &timestamp, const std::string &name) {
    const std::string guids = R"({"node_guid":"","system_image_guid":"","port_1_guid":""})";
    return R"({"timestamp":)" + timestamp + (name.empty() ? "" : ",\"" + name + "\":" + guids) +
           "}";
}

class NodeInfo : public testing::Test {
  protected:
    const ScopedEnv multiple_{"VRN_ALLOW_MULTIPLE_NODEINFO", nullptr};
    const ScopedEnv bare_{"ALLOW_MULTIPLE_NODEINFO", nullptr};
    const TempDir dir_;
    const vrn_data_page_t page_ = page_at(10, "");
    vrn_nodeinfo_t state_;
    CapturedLog log_{3};
};

TEST_F(NodeInfo, IsWrittenWhenTheHcasOrTheFolderChange) {
    const TempDir other;
    const std::string nic0 = document("30", "nic0");
    // clang-format off
    const struct {
        const char *name; const TempDir *dir; std::uint64_t time; const char *hca;
        std::string added, content;
    } steps[] = {
        // No HCAs are news as well to a new state.
        {"first", &dir_, 10, "", "nodeinfo.json", document("10", "")},
        {"same", &dir_, 20, "", "", ""},
        {"HCA", &dir_, 30, "nic0", "nodeinfo.30.json", nic0},
        {"same HCA", &dir_, 40, "nic0", "", ""},
        // The document at hand goes there too, with the time of its page.
        {"folder", &other, 50, "nic0", "nodeinfo.json", nic0},
        {"back", &dir_, 60, "nic0", "nodeinfo.30.json", nic0},
        {"both", &other, 70, "nic1", "nodeinfo.70.json", document("70", "nic1")},
    };
    // clang-format on
    std::map<const TempDir *, Files> expected = {{&dir_, {}}, {&other, {}}};
    for (const auto &step : steps) {
        SCOPED_TRACE(step.name);
        const vrn_data_page_t page = page_at(step.time, step.hca);
        vrn_nodeinfo_update(&state_, step.dir->path().c_str(), &page);
        if (!step.added.empty()) expected[step.dir][step.added] = step.content;
        for (const auto &[dir, files] : expected) EXPECT_EQ(files_in(dir->path()), files);
    }
    EXPECT_EQ(log_.take(), Lines{});
    vrn_nodeinfo_clear(&state_);
    EXPECT_EQ(state_.dir, "");
    EXPECT_EQ(state_.json, nullptr);
}

TEST_F(NodeInfo, FolderWithADocumentIsLeftAloneWhenTold) {
    const std::pair<const char *, bool> cases[] = {{"", true}, {"Yes", true}, {"false", false}};
    for (const auto &[value, is_allowed] : cases) {
        SCOPED_TRACE(value);
        const ScopedEnv multiple("VRN_ALLOW_MULTIPLE_NODEINFO", value);
        const TempDir dir;
        dir.write("nodeinfo.json", "of an earlier run");
        vrn_nodeinfo_init(&state_);
        vrn_nodeinfo_update(&state_, dir.path().c_str(), &page_);
        Files expected = {{"nodeinfo.json", "of an earlier run"}};
        if (is_allowed) expected["nodeinfo.10.json"] = document("10", "");
        EXPECT_EQ(files_in(dir.path()), expected);
    }
}

TEST_F(NodeInfo, PathsAreBelowAThousandCharacters) {
    for (const std::size_t size : {999, 1000}) {
        SCOPED_TRACE(size);
        std::string path = dir_.path();
        while (path.size() + 215 < size) path += '/' + std::string(100, 'd');
        path += '/' + std::string(size - path.size() - std::strlen("//nodeinfo.json"), 'd');
        std::filesystem::create_directories(path);
        vrn_nodeinfo_init(&state_);
        for (int call = 0; call < 2; ++call) vrn_nodeinfo_update(&state_, path.c_str(), &page_);
        const bool fits = size < 1000;
        EXPECT_EQ(files_in(path).size(), fits);
        EXPECT_EQ(log_.take(), fits ? Lines{}
                                    : Lines{"3 [nodeinfo_file] Failed to open file " + path +
                                            "/nodeinfo.json for writing: File name too long"});
    }
}

TEST_F(NodeInfo, WritersOfOneFolderKeepEachOthersDocuments) {
    constexpr std::uint64_t writers = 4;
    for (int round = 0; round < 20; ++round) {
        const TempDir dir;
        std::barrier start(writers);
        std::vector<std::jthread> threads;
        for (std::uint64_t writer = 0; writer < writers; ++writer)
            threads.emplace_back([&, writer] {
                const vrn_data_page_t page = page_at(writer + 1, "");
                vrn_nodeinfo_t state;
                start.arrive_and_wait();
                vrn_nodeinfo_update(&state, dir.path().c_str(), &page);
            });
        threads.clear();
        ASSERT_EQ(files_in(dir.path()).size(), writers) << round;
    }
}

TEST_F(NodeInfo, FailureToWriteIsToldAndNoMore) {
    const std::string missing = dir_.file("none");
    dir_.write("full/nodeinfo.json", "");
    const std::string full = dir_.file("full");
    std::filesystem::create_symlink("/dev/full", full + "/nodeinfo.10.json");
    vrn_nodeinfo_update(&state_, missing.c_str(), &page_);
    vrn_nodeinfo_update(&state_, missing.c_str(), &page_);  // nothing new to write
    vrn_nodeinfo_update(&state_, full.c_str(), &page_);
    const std::string failed = "3 [nodeinfo_file] Failed to ";
    EXPECT_EQ(log_.take(), (Lines{failed + "open file " + missing +
                                      "/nodeinfo.json for writing: No such file or directory",
                                  failed + "write data to file " + full +
                                      "/nodeinfo.10.json: No space left on device"}));
}

}  // namespace
}  // namespace vrn::test
