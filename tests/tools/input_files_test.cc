#include "common/input_files.h"

#include <unistd.h>
#include <zlib.h>

#include <filesystem>

#include "support/test.h"

namespace vrn::tool {
namespace {

using test::CapturedLog;
using test::Lines;
using test::TempDir;

class InputFiles : public testing::Test {
  protected:
    // Paths below the folder of the test, and its log lines with such paths.
    Lines find(const Lines &operands, bool expected = true) {
        Lines paths;
        for (const std::string &operand : operands) paths.push_back(dir_.file(operand));
        std::vector<InputFile> files;
        CapturedLog log;
        EXPECT_EQ(find_input_files(paths, &files), expected);
        log_ = log.take();
        for (std::string &line : log_) cut_folder(&line);
        Lines found;
        for (InputFile &file : files) cut_folder(&found.emplace_back(file.path));
        return found;
    }

    void link(const std::string &target, const std::string &name) const {
        std::filesystem::create_symlink(target, dir_.file(name));
    }

    TempDir dir_;
    Lines log_;

  private:
    void cut_folder(std::string *text) const {
        if (const auto at = text->find(dir_.path()); at != std::string::npos)
            text->erase(at, dir_.path().size() + 1);
    }
};

TEST_F(InputFiles, OfFoldersAreTheDataFilesInOrder) {
    dir_.write("b.bin", "VRNF...");
    dir_.write("top/b/2.bin", "VRNF");
    dir_.write("top/b-1.bin", "VRNF");
    dir_.write("top/a/schema/s.json", "{}");
    dir_.write("top/empty", "");
    const gzFile packed = gzopen(dir_.file("top/a/z.gz").c_str(), "wb");
    gzputs(packed, "VRNF");
    gzclose(packed);
    dir_.write("top/cut.gz", "\x1f\x8b\x08");  // its reader says what is wrong with it
    EXPECT_EQ(mkfifo(dir_.file("top/fifo").c_str(), 0600), 0);
    EXPECT_EQ(find({"b.bin", "top"}),
              (Lines{"b.bin", "top/a/z.gz", "top/b-1.bin", "top/b/2.bin", "top/cut.gz"}));
    EXPECT_EQ(log_, (Lines{"6 top/a/schema/s.json: is no data file, passed over",
                           "6 top/empty: is no data file, passed over"}));
    EXPECT_EQ(find({"top/a/schema/s.json", "top/b"}),
              (Lines{"top/a/schema/s.json", "top/b/2.bin"}));
    EXPECT_EQ(find({"top/b/../b-1.bin", "top/b-1.bin", "top/b", "top/b"}),
              (Lines{"top/b/../b-1.bin", "top/b-1.bin", "top/b/2.bin"}));
}

TEST_F(InputFiles, LinksAreFollowedOnce) {
    dir_.write("out/1.bin", "VRNF");
    dir_.write("top/sub/2.bin", "VRNF");
    link("../top", "top/loop");
    link("../..", "top/sub/up");
    link("../out", "top/out");
    link("sub/2.bin", "top/latest.bin");
    link("nowhere", "top/gone.bin");
    link("self", "top/self");
    EXPECT_EQ(find({"top"}), (Lines{"top/latest.bin", "top/out/1.bin"}));
    EXPECT_EQ(log_, (Lines{"6 top/gone.bin: leads to no file, passed over",
                           "6 top/self: leads to no file, passed over"}));
}

TEST_F(InputFiles, WhatCanNotBeReachedIsSaid) {
    dir_.write("top/locked/1.bin", "VRNF");
    dir_.write("top/2.bin", "VRNF");
    // Nobody is locked out by the modes of folders who may override them.
    std::filesystem::permissions(dir_.path(), std::filesystem::perms(0755));
    std::filesystem::permissions(dir_.file("top/locked"), std::filesystem::perms::none);
    const uid_t user = geteuid();
    EXPECT_EQ(seteuid(user == 0 ? 65534 : user), 0);
    EXPECT_EQ(find({"absent.bin", "top"}, false), Lines{"top/2.bin"});
    EXPECT_EQ(seteuid(user), 0);
    std::filesystem::permissions(dir_.file("top/locked"), std::filesystem::perms::owner_all);
    EXPECT_EQ(log_, (Lines{"3 absent.bin: can't be read: No such file or directory",
                           "3 top/locked: can't be read: Permission denied"}));
}

}  // namespace
}  // namespace vrn::tool
