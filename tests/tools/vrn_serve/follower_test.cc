#include "vrn_serve/follower.h"

#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdio>
#include <filesystem>

#include "serve_fixtures.h"

namespace vrn::serve {
namespace {

using test::append;
using test::chunk_size;
using test::file_head;
using test::sample_chunk;
using test::sample_chunks;
using test::shown;
using test::wait_until;
using vrn::test::TempDir;

const series::SeriesOptions options;

struct Tailed {
    LiveStore store{{}, &options};
    series::SchemaFolders folders{&options};
    TailTools tools{.store = &store, .options = &options, .folders = &folders};
    FileTail tail;

    std::string take(const std::string &path) {
        while (tail.take(path, &tools) == FileTail::Step::more) {
        }
        return shown(store);
    }
    std::string take_rest(const std::string &path) {
        while (tail.take_rest(path, &tools) == FileTail::Step::more) {
        }
        return shown(store);
    }
};

TEST(FileTail, TakesABlockWhenItIsWholeAndOnce) {
    const TempDir dir;
    const std::string content = file_head(1) + sample_chunks({1, 2});
    Tailed tailed;
    std::string expected;
    for (std::size_t size = 0; size <= content.size(); ++size) {
        const std::string path = dir.write("a.bin", content.substr(0, size));
        if (size == sizeof(vrn_data_file_header_t) + chunk_size) expected = "1,m,at=x,1 ";
        if (size == content.size()) expected += "2,m,at=x,2 ";
        ASSERT_EQ(tailed.take(path), expected) << size;
    }
    EXPECT_EQ(tailed.store.state().taken_samples, 2);
    EXPECT_EQ(tailed.tools.losses, 0);
}

TEST(FileTail, BeginsAnewWithAnotherFileOfTheName) {
    const TempDir dir;
    Tailed tailed;
    tailed.take(dir.write("a.bin", file_head(1) + sample_chunks({1, 2})));
    // Cut off and written anew; longer than before, with another head; no data file; one again.
    tailed.take(dir.write("a.bin", file_head(1) + sample_chunks({3})));
    tailed.take(dir.write("a.bin", file_head(4) + sample_chunks({4, 5, 6})));
    tailed.take(dir.write("a.bin", std::string(5000, 'x')));
    EXPECT_EQ(tailed.take(dir.write("a.bin", file_head(7) + sample_chunks({7}))),
              "1,m,at=x,1 2,m,at=x,2 3,m,at=x,3 4,m,at=x,4 5,m,at=x,5 6,m,at=x,6 7,m,at=x,7 ");
}

TEST(FileTail, TakesTheRestOfFilesThatAreDone) {
    const TempDir dir;
    const std::string content = file_head(1) + sample_chunks({1, 2});
    Tailed tailed;
    const std::size_t zeros = 30;
    const std::string path = dir.write("a.bin", content.substr(0, content.size() - zeros));
    EXPECT_EQ(tailed.tail.take(path, &tailed.tools), FileTail::Step::waits);
    EXPECT_EQ(tailed.take_rest(path), "1,m,at=x,1 2,m,at=x,2 ");
    EXPECT_EQ(tailed.tail.take(path, &tailed.tools), FileTail::Step::done);

    Tailed packed;
    const std::string packed_path = dir.file("b.bin.gz");
    const gzFile file = gzopen(packed_path.c_str(), "w");
    gzwrite(file, content.data(), static_cast<unsigned>(content.size()));
    gzclose(file);
    EXPECT_EQ(packed.take(packed_path), "");
    EXPECT_EQ(packed.take_rest(packed_path), "1,m,at=x,1 2,m,at=x,2 ");
    EXPECT_EQ(packed.tail.take(packed_path, &packed.tools), FileTail::Step::done);
}

TEST(FileTail, LivesOnAfterWhatItCannotRead) {
    const TempDir dir;
    Tailed tailed;
    ASSERT_EQ(mkfifo(dir.file("pipe").c_str(), 0600), 0);
    for (const std::string &path : {dir.file("pipe"), dir.file("none"), dir.path()})
        EXPECT_EQ(tailed.take(path), "");
    const std::string damaged = vrn::test::ByteBuilder().text("CNTX").pad_to(chunk_size).done();
    EXPECT_EQ(tailed.take(dir.write("a.bin", file_head(1) + damaged + sample_chunks({1}))),
              "1,m,at=x,1 ");
    EXPECT_EQ(tailed.tools.losses, 1);
}

TEST(Follower, FollowsFilesThroughTheirLives) {
    const TempDir dir;
    LiveStore store({}, &options);
    std::string expected;
    const std::string first = dir.write("a/1.bin", file_head(1) + sample_chunks({1}));
    const std::string named = dir.file("later/by-name.bin");
    Follower follower({dir.file("a"), named, dir.file("a")}, &options, &store);
    const auto expect_sample = [&](const std::string &time) {
        expected += time + ",m,at=x," + time + " ";
        wait_until([&] { return shown(store).size() >= expected.size(); });
        EXPECT_EQ(shown(store), expected);
    };
    expect_sample("1");
    wait_until([&] { return follower.state().has_caught_up; });
    append(first, sample_chunks({2}));
    expect_sample("2");
    // Rotated by name, both halves of it written to.
    std::filesystem::rename(first, dir.file("a/1.old"));
    append(dir.file("a/1.old"), sample_chunks({3}));
    expect_sample("3");
    dir.write("a/1.bin", file_head(4) + sample_chunks({4}));
    expect_sample("4");
    // A folder that comes with all that is in it, and what comes into it.
    dir.write("elsewhere/deep/2.bin", file_head(5) + sample_chunks({5}));
    std::filesystem::rename(dir.file("elsewhere"), dir.file("a/new"));
    expect_sample("5");
    dir.write("a/new/deep/deeper/3.bin", file_head(6) + sample_chunks({6}));
    expect_sample("6");
    // What another file takes the place of.
    dir.write("replacement", file_head(7) + sample_chunks({7}));
    std::filesystem::rename(dir.file("replacement"), dir.file("a/1.bin"));
    expect_sample("7");
    // Named before it was there; others in its folder are nobody's business.
    dir.write("later/other.bin", file_head(9) + sample_chunks({9}));
    dir.write("later/by-name.bin", file_head(8) + sample_chunks({8}));
    expect_sample("8");
    // Copies hold nothing new, and files that go leave what they held.
    std::filesystem::copy_file(dir.file("a/1.old"), dir.file("a/copy.bin"));
    std::filesystem::remove(dir.file("a/1.old"));
    append(dir.file("a/copy.bin"), sample_chunks({10}));
    expect_sample("10");
}

TEST(Follower, ReadsTheNewestFilesFirst) {
    const TempDir dir;
    using Clock = std::filesystem::file_time_type::clock;
    constexpr std::uint64_t files = 40;
    for (std::uint64_t i = 0; i < files; ++i) {
        const std::string path = dir.write("f" + std::to_string(i * 7 % files) + ".bin",
                                           file_head(i) + sample_chunk("m", "x", i, i));
        std::filesystem::last_write_time(path, Clock::now() - std::chrono::hours(files - i));
    }
    // What is read after the newest one finds no room in a store of one sample.
    LiveStore store({.samples = 1}, &options);
    {
        const Follower follower({dir.path()}, &options, &store);
        wait_until([&] { return follower.state().has_caught_up; });
        EXPECT_EQ(follower.state().files, files);
    }
    EXPECT_EQ(shown(store), "39,m,at=x,39 ");
    EXPECT_EQ(store.state().taken_samples, 1);
}

}  // namespace
}  // namespace vrn::serve
