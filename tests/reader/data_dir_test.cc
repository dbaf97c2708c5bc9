#include "reader/data_dir.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/test.h"

namespace vrn::test {
namespace {

namespace fs = std::filesystem;

struct Walk {
    bool good;
    Lines files;
    std::string errors;
};

Walk walk(const std::string &path) {
    vrn_reader_options_t options{};
    testing::internal::CaptureStderr();
    const bool good = vrn_reader_add_data_dir(&options, path.c_str());
    Walk result = {good, {}, testing::internal::GetCapturedStderr()};
    const vrn_string_array_ptr files(options.data_files);
    for (std::size_t i = 0; files && i < files->count; ++i)
        result.files.emplace_back(files->strings[i]);
    return result;
}

TEST(DataDir, TakesEveryRegularFile) {
    const TempDir dir;
    for (const char *name : {"a.bin", ".hidden", "sub/b.txt", "sub/.deep/c", "two\nlines", "...x"})
        dir.write(name, "");
    fs::create_symlink(dir.file("a.bin"), dir.file("link"));
    ASSERT_EQ(mkfifo(dir.file("pipe").c_str(), 0666), 0);
    const Walk result = walk(dir.path());
    EXPECT_TRUE(result.good);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.files, testing::UnorderedElementsAre(
                                  dir.file("a.bin"), dir.file(".hidden"), dir.file("sub/b.txt"),
                                  dir.file("sub/.deep/c"), dir.file("two\nlines"), dir.file("...x"),
                                  dir.file("link")));
}

TEST(DataDir, RefusesFoldersThatCannotBeOpened) {
    const TempDir dir;
    const std::string file = dir.write("file", "");
    const std::string long_path(5000, 'a');
    const std::pair<std::string, std::string> cases[] = {
        {dir.file("none"), "No such file or directory"},
        {file, "Not a directory"},
        {"", "No such file or directory"},
        {long_path, "File name too long"}};
    for (const auto &[path, reason] : cases) {
        const Walk result = walk(path);
        EXPECT_FALSE(result.good);
        EXPECT_EQ(result.errors, "Failed to open directory '" + path + "': " + reason + "\n");
    }
}

// Makes folders below `path`, one in the other, until a path is full: first many, then long ones.
std::string make_full_path(std::string path) {
    constexpr std::size_t full = 4094;
    for (int i = 0; i < 500; ++i) path += "/d";
    while (path.size() + 202 < full) path += '/' + std::string(200, 'd');
    path += '/' + std::string(full - path.size() - 1, 'd');
    fs::create_directories(path);
    return path;
}

TEST(DataDir, EndsWhereAPathIsFullWithLittleStack) {
    const TempDir dir;
    const std::string full = make_full_path(dir.path());
    const fs::path before = fs::current_path();
    fs::current_path(full);
    ASSERT_EQ(mkdir("d", 0777), 0);
    fs::current_path(before);

    rlimit stack{};
    getrlimit(RLIMIT_STACK, &stack);
    const rlimit little = {1 << 20, stack.rlim_max};
    setrlimit(RLIMIT_STACK, &little);
    const Walk result = walk(dir.path());
    setrlimit(RLIMIT_STACK, &stack);
    EXPECT_FALSE(result.good);
    EXPECT_EQ(result.files, Lines{});
    EXPECT_EQ(result.errors, "Failed to stat path '" + full + "/': File name too long\n");
}

}  // namespace
}  // namespace vrn::test
