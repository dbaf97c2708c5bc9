#include "reader/data_dir.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/test.h"

namespace vrn::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

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
    EXPECT_THAT(result.files,
                UnorderedElementsAre(dir.file("a.bin"), dir.file(".hidden"), dir.file("sub/b.txt"),
                                     dir.file("sub/.deep/c"), dir.file("two\nlines"),
                                     dir.file("...x"), dir.file("link")));
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

// Makes folders of one letter, one below the other, deeper than any path can name.
void make_deep_tree(const std::string &path, int depth) {
    const fs::path before = fs::current_path();
    fs::current_path(path);
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(mkdir("d", 0777), 0);
        ASSERT_EQ(chdir("d"), 0);
    }
    fs::current_path(before);
}

class OpenFilesLimit {
  public:
    explicit OpenFilesLimit(rlim_t wanted) {
        getrlimit(RLIMIT_NOFILE, &before_);
        rlimit limit = before_;
        limit.rlim_cur = std::min(wanted, before_.rlim_max);
        setrlimit(RLIMIT_NOFILE, &limit);
        granted_ = limit.rlim_cur;
    }
    ~OpenFilesLimit() { setrlimit(RLIMIT_NOFILE, &before_); }
    OpenFilesLimit(const OpenFilesLimit &) = delete;
    OpenFilesLimit &operator=(const OpenFilesLimit &) = delete;
    rlim_t granted() const { return granted_; }

  private:
    rlimit before_{};
    rlim_t granted_ = 0;
};

TEST(DataDir, EndsAtThePathLimitOfADeepTree) {
    const TempDir dir;
    make_deep_tree(dir.path(), 2100);
    const OpenFilesLimit limit(4096);
    const Walk result = walk(dir.path());
    EXPECT_FALSE(result.good);
    EXPECT_THAT(result.files, IsEmpty());
    if (limit.granted() >= 4096) {
        EXPECT_THAT(result.errors, StartsWith("Failed to stat path '" + dir.path() + "/d/d"));
        EXPECT_THAT(result.errors, HasSubstr("File name too long"));
    } else {
        EXPECT_THAT(result.errors, HasSubstr("Too many open files"));
    }
}

}  // namespace
}  // namespace vrn::test
