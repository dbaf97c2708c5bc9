// Runs every *.case file against the real binary. VRN_REBASE=1 rewrites what they expect.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "cli/case_file.h"

namespace vrn::test {
namespace {

class CliCase : public testing::Test {
  public:
    explicit CliCase(std::string path) : path_(std::move(path)) {}

    void TestBody() override {
        const CaseFile expected = read_case_file(path_);
        const CaseFile actual = run_case(expected, VRN_TOOL_DIR);
        if (std::getenv("VRN_REBASE")) {
            write_case_file(path_, actual);
            return;
        }
        EXPECT_EQ(to_text(actual), to_text(expected)) << path_;
    }

  private:
    std::string path_;
};

void register_cases() {
    std::vector<std::filesystem::path> paths;
    for (const auto &entry : std::filesystem::directory_iterator(VRN_CASE_DIR))
        if (entry.path().extension() == ".case") paths.push_back(entry.path());
    std::ranges::sort(paths);
    for (const std::filesystem::path &path : paths) {
        // In a filter, by which ctest runs each of them, '-' begins what is left out.
        std::string name = path.stem();
        std::ranges::replace(name, '-', '_');
        testing::RegisterTest("Cli", name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [path]() -> testing::Test * { return new CliCase(path); });
    }
}

}  // namespace
}  // namespace vrn::test

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    vrn::test::register_cases();
    return RUN_ALL_TESTS();
}
