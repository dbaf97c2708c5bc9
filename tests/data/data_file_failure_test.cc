// Data files when the disk, a limit or a folder fails them.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <array>
#include <boost/filesystem.hpp>
#include <cmath>
#include <csignal>
#include <functional>

#include "data/data_file.h"
#include "support/data_tree.h"
#include "support/test.h"

namespace vrn::test {
namespace {

namespace fs = boost::filesystem;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr std::uint64_t start = 1'794'712'886'000'000;
constexpr std::uint64_t header_size = 256;

// While in scope no file of this process grows beyond `bytes`: writes come back short.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(std::uint64_t bytes) {
        getrlimit(RLIMIT_FSIZE, &before_);
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

  private:
    rlimit before_{};
    void (*handler_)(int);
};

class DataFileFailure : public ::testing::Test {
  protected:
    DataFileFailure() {
        const vrn_client_id_t client = {.host_name = "collector", .port = 0};
        vrn_data_file_init(&file, &client, "node1", "tag", 1);
        file.root_dir = dir.path();
        file.path_template = "{{source}}/{{id}}.bin";
        file.block_size = page_block_size;
    }
    ~DataFileFailure() override { vrn_data_file_destroy(&file); }

    std::uint64_t write(std::uint64_t time) {
        const std::string data = page_data(time);
        return vrn_data_file_write(&file, time, time, data.data(), data.size(), nullptr);
    }

    const TempDir dir;
    vrn_data_file_t file;
};

TEST_F(DataFileFailure, LosesOnlyWhatItDidNotReportWhenFilesMayNotGrow) {
    const std::uint64_t largest = header_size + 3 * page_block_size;
    std::uint64_t time = start;
    for (std::uint64_t limit = 0; limit <= largest; limit += 29) {
        SCOPED_TRACE(limit);
        CapturedLog log;
        std::vector<std::uint64_t> reported;
        std::vector<std::string> lines;
        {
            const FileSizeLimit limited(limit);
            for (int page = 0; page < 6; ++page)
                if (write(++time) != 0) reported.push_back(time);
            lines = log.take();
        }
        // Where a file has room for a page, each failure is a stretch of its own.
        if (limit < header_size + page_block_size) {
            EXPECT_THAT(lines, SizeIs(limit < header_size ? 2 : 1));
            EXPECT_THAT(reported, IsEmpty());
            EXPECT_THAT(data_files_of(dir.path()), IsEmpty());
        } else {
            EXPECT_THAT(reported, SizeIs(::testing::Ge(3U)));
        }
        EXPECT_NE(write(++time), 0U);  // there is room again
        reported.push_back(time);
        vrn_data_file_finish(&file);
        EXPECT_THAT(log.take(), IsEmpty());
        EXPECT_EQ(check_data_tree(dir.path(), reported), "");
        fs::remove_all(dir.file("node1"));
    }
}

TEST_F(DataFileFailure, CutsOnlyItsOwnPageOffASharedFile) {
    CapturedLog log;
    vrn_data_file_t other;
    vrn_data_file_init(&other, &file.client_id, "node2", "tag", 1);
    other.root_dir = dir.path();
    other.block_size = file.block_size;
    file.path_template = other.path_template = "f.bin";
    ASSERT_NE(write(start), 0U);
    const std::string data = page_data(start + 1);
    ASSERT_NE(vrn_data_file_write(&other, start + 1, start + 1, data.data(), data.size(), nullptr),
              0U);
    {
        const FileSizeLimit limited(header_size + 2 * page_block_size + 7);
        EXPECT_EQ(write(start + 2), 0U);
    }
    EXPECT_EQ(file.path, "");
    EXPECT_EQ(fs::file_size(dir.file("f.bin")), header_size + 2 * page_block_size);
    EXPECT_EQ(check_data_tree(dir.path(), {start, start + 1}), "");
    EXPECT_THAT(log.take(),
                ElementsAre(AllOf(StartsWith("3 [data_file] Failed appending data file "),
                                  HasSubstr("File too large"))));
    vrn_data_file_destroy(&other);
}

// Streams of several block sizes on one path, as of one process.
struct SharedPath {
    explicit SharedPath(const TempDir &dir) : path(dir.file("f")) {
        for (std::size_t i = 0; i < streams.size(); ++i) init(i, dir);
    }
    ~SharedPath() { finish(); }

    void init(std::size_t i, const TempDir &dir) {
        constexpr std::array<std::uint32_t, 3> block_sizes = {10, 7, 10};
        vrn_data_file_init(&streams[i], &client, std::to_string(i), "tag", 1);
        streams[i].root_dir = dir.path();
        streams[i].path_template = "f";
        streams[i].block_size = block_sizes[i];
    }
    void append(std::size_t i) {
        const std::string page(streams[i].block_size, static_cast<char>('a' + pages++ % 26));
        ++time;
        if (vrn_data_file_write(&streams[i], time, time, page.data(), page.size(), nullptr) != 0)
            expected += page;
    }
    void finish() {
        for (vrn_data_file_t &stream : streams) vrn_data_file_finish(&stream);
    }
    // What streams hold goes, and nothing else happens: no data waits in this process.
    void kill() {
        for (vrn_data_file_t &stream : streams) {
            stream.stream.reset();
            stream.path.clear();
        }
    }
    void remove() {
        fs::remove(path);
        expected.clear();
    }

    const vrn_client_id_t client{.host_name = "collector", .port = 0};
    const std::string path;
    std::array<vrn_data_file_t, 3> streams;
    std::uint64_t time = start;
    std::uint64_t pages = 0;
    std::string expected;
};

TEST_F(DataFileFailure, KeepsTheReportedPagesOfAllStreamsOfAPath) {
    using Step = std::function<void(SharedPath &)>;
    const Step steps[] = {
        [](auto &shared) { shared.append(0); },
        [](auto &shared) { shared.append(1); },
        [](auto &shared) { shared.append(2); },
        [](auto &shared) { vrn_data_file_finish(&shared.streams[0]); },
        [](auto &shared) { vrn_data_file_finish(&shared.streams[1]); },
        [](auto &shared) { shared.kill(); },
        [](auto &shared) { shared.remove(); },
    };
    constexpr std::size_t length = 4;
    const std::size_t runs = static_cast<std::size_t>(std::pow(std::size(steps), length));
    CapturedLog log(4);
    for (std::size_t run = 0; run < runs; ++run) {
        SharedPath shared(dir);
        std::string trace;
        for (std::size_t i = 0, rest = run; i < length; ++i, rest /= std::size(steps)) {
            steps[rest % std::size(steps)](shared);
            trace += std::to_string(rest % std::size(steps));
        }
        for (std::size_t i = 0; i < 3; ++i) shared.append(i);
        ASSERT_EQ(read_file(shared.path).substr(header_size), shared.expected) << trace;
        shared.remove();
    }
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(DataFileFailure, TakesAPageBackWhoseEndItCannotTell) {
    CapturedLog log;
    SharedPath shared(dir);
    for (const std::size_t stream : {0, 1}) shared.append(stream);
    const std::string bytes = read_file(shared.path);
    EXPECT_EQ(vrn::load_le<std::uint64_t>(&bytes[8]), bytes.size());
    const std::string scribbled = "scribbled" + bytes.substr(9);
    dir.write("f", scribbled);
    shared.append(1);
    EXPECT_EQ(read_file(shared.path), scribbled);
    EXPECT_EQ(shared.streams[1].path, "");
    EXPECT_THAT(log.take(), SizeIs(4));  // twice what is wrong, and that the header stays as it is
}

TEST_F(DataFileFailure, TellsOncePerStretchThatAFolderFails) {
    CapturedLog log;
    dir.write("node1", "no folder");
    EXPECT_EQ(write(start), 0U);
    EXPECT_EQ(write(start + 1), 0U);
    EXPECT_THAT(log.take(), ElementsAre("3 [data_file] Failed to create data file " +
                                        dir.file("node1/") + std::to_string(start) +
                                        ".bin: Inaccessible data path " + dir.file("node1")));
    fs::remove(dir.file("node1"));
    EXPECT_NE(write(start + 2), 0U);
    vrn_data_file_finish(&file);
    fs::remove_all(dir.file("node1"));
    dir.write("node1", "no folder");
    EXPECT_EQ(write(start + 3), 0U);
    EXPECT_THAT(log.take(), SizeIs(1));
}

TEST_F(DataFileFailure, TellsOncePerStretchThatAFileFails) {
    CapturedLog log;
    file.path_template = "{{source}}.bin";
    fs::create_directories(dir.file("node1.bin"));
    EXPECT_EQ(write(start), 0U);
    EXPECT_EQ(write(start + 1), 0U);
    const std::string path = dir.file("node1.bin");
    EXPECT_THAT(log.take(),
                ElementsAre("3 [data_file] Failed to open data file " + path +
                                " for writing: Is a directory",
                            "3 [data_file] Failed opening data file " + path + ": Is a directory"));
    fs::remove(path);
    fs::create_symlink(dir.file("gone/f"), path);
    EXPECT_EQ(write(start + 2), 0U);
    fs::remove(path);
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_NE(write(start + 3), 0U);
    EXPECT_TRUE(file.last_write_ok);
}

}  // namespace
}  // namespace vrn::test
