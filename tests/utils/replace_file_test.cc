#include "utils/replace_file.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "support/child_process.h"
#include "support/file_limit.h"
#include "support/test.h"

namespace vrn::test {
namespace {

namespace fs = std::filesystem;

using Files = std::map<std::string, std::string>;

struct stat status_of(const std::string &path) {
    struct stat status {};
    stat(path.c_str(), &status);
    return status;
}

std::string replace(const std::string &path, std::string_view content) {
    errno = 0;
    switch (replace_file(path, content)) {
        case ReplacedFile::done:
            return "done";
        case ReplacedFile::not_opened:
            return std::string("not opened: ") + std::strerror(errno);
        case ReplacedFile::not_written:
            return std::string("not written: ") + std::strerror(errno);
    }
    return "";
}

const std::string old_text(5000, 'o');
const std::string new_text(9000, 'n');

TEST(ReplaceFile, ReplacesWhatDiffers) {
    const TempDir dir;
    const std::string path = dir.file("f");
    const mode_t mask = umask(027);
    EXPECT_EQ(replace(path, old_text), "done");
    umask(mask);
    EXPECT_EQ(status_of(path).st_mode & 0777, 0640);
    fs::permissions(path, fs::perms(0604));
    fs::create_symlink("f", dir.file("link"));
    std::ifstream reader(path);
    const ino_t first = status_of(path).st_ino;
    EXPECT_EQ(replace(dir.file("link"), old_text), "done");
    EXPECT_EQ(status_of(path).st_ino, first);
    for (const std::string &text : {new_text, new_text.substr(1), std::string()}) {
        const ino_t before = status_of(path).st_ino;
        EXPECT_EQ(replace(dir.file("link"), text), "done");
        EXPECT_NE(status_of(path).st_ino, before);
        EXPECT_EQ(files_in(dir.path()), (Files{{"f", text}, {"link", text}}));
    }
    EXPECT_TRUE(fs::is_symlink(dir.file("link")));
    EXPECT_EQ(status_of(path).st_mode & 0777, 0604);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), old_text);
}

TEST(ReplaceFile, LeavesTheOldFileWhenItFails) {
    const TempDir dir;
    dir.write("f", old_text);
    fs::create_directory(dir.file("folder"));
    for (const std::size_t limit : {0, 100, 8999}) {
        std::string outcome;
        with_file_limit(limit, [&] { outcome = replace(dir.file("f"), new_text); });
        EXPECT_EQ(outcome, "not written: File too large");
        with_file_limit(limit, [&] { outcome = replace(dir.file("new"), new_text); });
        EXPECT_EQ(outcome, "not written: File too large");
    }
    EXPECT_EQ(replace(dir.file("folder"), new_text), "not opened: Is a directory");
    EXPECT_EQ(replace(dir.file("none/f"), new_text), "not opened: No such file or directory");
    EXPECT_EQ(replace("/dev/full", new_text), "not written: No space left on device");
    EXPECT_EQ(replace("/dev/null", new_text), "done");
    EXPECT_EQ(files_in(dir.path()), (Files{{"f", old_text}, {"folder", ""}}));
}

// Without it no file that has no name can be given one.
bool hide_proc() {
    if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
    return mount("empty", "/proc", "tmpfs", 0, nullptr) == 0;
}

TEST(ReplaceFile, DoesWithoutNamelessFiles) {
    const TempDir dir;
    dir.write("f", old_text);
    const std::string outcome = run_in_child([&]() -> std::string {
        if (!hide_proc()) return "skip";
        return replace(dir.file("f"), new_text) + ", " + replace(dir.file("new"), new_text);
    });
    if (outcome == "skip") GTEST_SKIP() << "no file system can be hidden here";
    EXPECT_EQ(outcome, "done, done");
    EXPECT_EQ(files_in(dir.path()), (Files{{"f", new_text}, {"new", new_text}}));
}

TEST(ReplaceFile, IsWholeWhereverItIsKilled) {
    for (const bool has_old : {true, false}) {
        SCOPED_TRACE(has_old);
        std::size_t calls = 0;
        for (bool is_done = false; !is_done; ++calls) {
            const TempDir dir;
            const std::string path = dir.file("f");
            if (has_old) dir.write("f", old_text);
            is_done = run_and_kill([&] { static_cast<void>(replace(path, new_text)); }, calls);
            const std::string text = read_file(path);
            const bool is_new = text == new_text;
            EXPECT_TRUE(is_new || (!is_done && text == (has_old ? old_text : ""))) << calls;
            EXPECT_EQ(fs::exists(path), is_new || has_old) << calls;
            EXPECT_EQ(replace(path, new_text), "done");
            EXPECT_EQ(read_file(path), new_text);
        }
        EXPECT_GT(calls, 4U);
    }
}

}  // namespace
}  // namespace vrn::test
