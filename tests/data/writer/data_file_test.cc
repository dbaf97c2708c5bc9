#include "data/writer/data_file.h"

#include <gmock/gmock.h>

#include <array>
#include <boost/filesystem.hpp>
#include <cmath>
#include <functional>
#include <stdexcept>

#include "support/data_tree.h"
#include "support/file_limit.h"
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

constexpr std::uint64_t start = 1'794'712'886'000'000;  // 2026-11-15 03:21:26 UTC
constexpr std::uint64_t second = 1'000'000;
constexpr std::uint64_t header_size = 256;
const vrn_client_id_t client{.host_name = "collector", .port = 0};

struct Header {
    std::string source = "node1";
    std::string tag = "tag";
    std::string schema_ids = std::string(128, '\0');
    std::uint64_t file_size = 256;
    std::uint64_t first_ts = start;
    std::uint64_t last_ts = 0;
    std::uint32_t block_size = 4;
    std::uint8_t minor = 7;
};

std::string header_bytes(const Header &header) {
    ByteBuilder bytes;
    bytes.text("VRNF").u8(1).u8(header.minor).u16(0).u64(header.file_size);
    bytes.field(header.source, 64).field(header.tag, 16).u64(header.first_ts).u64(header.last_ts);
    return bytes.u32(header.block_size).text(header.schema_ids).zeros(8).text("vrnf").done();
}

class DataFile : public ::testing::Test {
  protected:
    DataFile() {
        vrn_data_file_init(&file, &client, "node1", "tag", 1);
        file.root_dir = dir.path();
        file.path_template = "{{source}}/{{id}}.bin";
        file.block_size = 4;
    }
    ~DataFile() override { vrn_data_file_destroy(&file); }

    std::string path(std::uint64_t first_ts) const {
        return dir.file("node1/" + std::to_string(first_ts) + ".bin");
    }
    std::uint64_t write(std::uint64_t first_ts, std::uint64_t last_ts, std::string_view data) {
        return vrn_data_file_write(&file, first_ts, last_ts, data.data(), data.size(), &rotated);
    }
    std::uint64_t write(std::uint64_t time) { return write(time, time, page_data(time)); }

    const TempDir dir;
    vrn_data_file_t file;
    bool rotated = false;
};

TEST_F(DataFile, DecidesOnRotationInOrder) {
    const std::string present = dir.write("present", "x");
    // clang-format off
    const struct {
        const char *name; std::uint64_t first_ts;  // of the stream
        std::string path; std::uint64_t file_size, page_first_ts, page_last_ts; bool rotates, warns;
    } cases[] = {
        {"no file yet", 0, "", 0, 0, 0, true, false},
        {"file gone, same time", 100, dir.file("gone"), 0, 100, 100, true, false},
        {"same time beats size", 100, present, 1000, 100, 100, false, false},
        {"size reached", 100, present, 1000, 90, 90, true, false},
        {"page from before the file", 100, present, 0, 98, 99, true, true},
        {"young but without a path", 100, "", 0, 101, 149, true, false},
        {"old enough", 100, present, 0, 101, 150, true, false},
    };
    // clang-format on
    file.max_file_size = 1000;
    file.max_file_age = 50;
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        CapturedLog log;
        file.first_ts = test.first_ts;
        file.path = test.path;
        file.file_size = test.file_size;
        EXPECT_EQ(vrn_data_file_needs_rotation(&file, test.page_first_ts, test.page_last_ts),
                  test.rotates);
        if (test.warns)
            EXPECT_THAT(log.take(),
                        ElementsAre("4 first_timestamp 100is greater than current timestamp: 99"));
        else
            EXPECT_THAT(log.take(), IsEmpty());
    }
    file.path.clear();
}

TEST_F(DataFile, TellsSizeAndLastTimeWhenItIsNotKeptOpen) {
    file.source = std::string(70, 's');
    file.tag = "0123456789abcdefg";
    file.counters_schema_id.bytes[0] = 0xC0;
    file.event_schema_ids[6].bytes[15] = 0xE6;
    file.path_template = "f";
    EXPECT_EQ(write(start, start + 5, "datadata"), 8U);
    EXPECT_TRUE(rotated);

    Header header{.source = std::string(63, 's'), .tag = "0123456789abcde"};
    header.schema_ids.front() = '\xC0';
    header.schema_ids.back() = '\xE6';
    EXPECT_EQ(read_file(dir.file("f")), header_bytes(header) + "datadata");

    vrn_data_file_set_keep_open(&file, false);
    EXPECT_EQ(write(start + 1, start + 7, "more"), 4U);
    EXPECT_FALSE(rotated);
    EXPECT_FALSE(file.stream.is_open());
    header.file_size = 268;
    header.last_ts = start + 7;
    EXPECT_EQ(read_file(dir.file("f")), header_bytes(header) + "datadatamore");
}

TEST_F(DataFile, AppendsToAnExistingFile) {
    const std::string torn_line =
        "4 [data_file] Cut 3 bytes of an unfinished block off file " + path(start);
    const std::string invalid_line =
        "3 [data_file] Header of file " + path(start) + " is invalid. Will not update.";
    // clang-format off
    const struct {
        const char *name; std::string before;
        std::string after;  // of the header and data before
        Lines lines;
    } cases[] = {
        {"finished", header_bytes({.file_size = 260, .first_ts = 7, .last_ts = 9}) + "aaaa",
         header_bytes({.file_size = 264, .first_ts = 7, .last_ts = start + 5}) + "aaaa", {}},
        {"without a first time", header_bytes({.first_ts = 0, .block_size = 8, .minor = 3}),
         header_bytes({.file_size = 260, .last_ts = start + 5, .block_size = 8, .minor = 3}), {}},
        {"torn behind a whole block", header_bytes({}) + "aaaabbb",
         header_bytes({.file_size = 264, .last_ts = start + 5}) + "aaaa", {torn_line}},
        {"torn behind a short block", header_bytes({.file_size = 257}) + "abbb",
         header_bytes({.file_size = 261, .last_ts = start + 5}) + "a", {torn_line}},
        {"size told beyond the end", header_bytes({.file_size = 1000}) + "bbb",
         header_bytes({.file_size = 260, .last_ts = start + 5}), {torn_line}},
        {"no block size", header_bytes({.block_size = 0}) + "aaa",
         header_bytes({.file_size = 263, .last_ts = start + 5, .block_size = 0}) + "aaa", {}},
        {"cut amid its header", header_bytes({}).substr(0, 255),
         header_bytes({.file_size = 260, .last_ts = start + 5}), {}},
        {"empty", "", header_bytes({.file_size = 260, .last_ts = start + 5}), {}},
        {"newer version", header_bytes({.minor = 8}), header_bytes({.minor = 8}),
         {"3 Version of data page 1.8.0 is incompatible with Varnel version 1.24.3", invalid_line}},
        {"no data file", std::string(260, 'x'), std::string(260, 'x'),
         {"3 Wrong data page magic number.", invalid_line}},
    };
    // clang-format on
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        CapturedLog log;
        dir.write("node1/" + std::to_string(start) + ".bin", test.before);
        EXPECT_EQ(write(start, start + 5, "bbbb"), 4U);
        EXPECT_TRUE(rotated);
        EXPECT_EQ(file.file_size, test.after.size() + 4);
        vrn_data_file_finish(&file);
        file.first_ts = 0;
        EXPECT_EQ(read_file(path(start)), test.after + "bbbb");
        EXPECT_EQ(log.take(), test.lines);
    }
}

TEST_F(DataFile, FinishesOnAChangeOfSettings) {
    const ByteBuilder block = ByteBuilder().text("VRNS").u16(128).u16(7).zeros(8).text("id");
    const vrn::Bytes schemas(reinterpret_cast<const std::uint8_t *>(block.done().data()), 18);
    const vrn_schema_id_t id = {{1}};
    // clang-format off
    const struct { const char *name; std::function<void()> change; bool finishes; } cases[] = {
        {"size", [&] { vrn_data_file_set_max_size(&file, 5000); }, true},
        {"same size", [&] { vrn_data_file_set_max_size(&file, 5000); }, false},
        {"no size", [&] { vrn_data_file_set_max_size(&file, 0); }, false},
        {"age", [&] { vrn_data_file_set_max_age(&file, 5 * second); }, true},
        {"no age", [&] { vrn_data_file_set_max_age(&file, 0); }, false},
        {"block size", [&] { vrn_data_file_set_block_size(&file, 0); }, true},
        {"counters schema", [&] { vrn_data_file_set_counters_schema_id(&file, &id); }, true},
        {"same schema", [&] { vrn_data_file_set_counters_schema_id(&file, &id); }, false},
        {"event schemas", [&] { vrn_data_file_set_event_schema_ids(&file, schemas); }, true},
        {"same schemas", [&] { vrn_data_file_set_event_schema_ids(&file, schemas); }, false},
        {"no schemas", [&] { vrn_data_file_set_event_schema_ids(&file, {}); }, true},
        {"tag", [&] { vrn_data_file_set_tag(&file, ""); }, true},
        {"root", [&] { vrn_data_file_set_root_dir(&file, dir.file("b")); }, true},
        {"no root", [&] { vrn_data_file_set_root_dir(&file, ""); }, false},
        {"template", [&] { vrn_data_file_set_path_template(&file, "{{id}}"); }, true},
        {"no template", [&] { vrn_data_file_set_path_template(&file, ""); }, false},
        {"keep open", [&] { vrn_data_file_set_keep_open(&file, false); }, false},
        {"tag in path", [&] { vrn_data_file_set_tag_in_path(&file, true); }, false},
    };
    // clang-format on
    std::uint64_t time = start;
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        ++time;
        ASSERT_EQ(write(time, time, "data"), 4U);
        test.change();
        EXPECT_EQ(file.path.empty(), test.finishes);
    }
}

TEST_F(DataFile, LosesAPageOfTheOldTimeAfterAChange) {
    write(start, start, "aaaa");
    vrn_data_file_set_block_size(&file, 8);
    EXPECT_EQ(write(start, start + 1, "bbbbbbbb"), 0U);
    EXPECT_FALSE(rotated);
    EXPECT_EQ(file.last_ts, start + 1);
    EXPECT_EQ(write(start + 2, start + 2, "cccccccc"), 8U);
    EXPECT_EQ(read_file(path(start)), header_bytes({.file_size = 260, .last_ts = start}) + "aaaa");
}

TEST_F(DataFile, KeepsItsFileWhenATimeIsRefused) {
    CapturedLog log;
    write(start, start + 1, "aaaa");
    EXPECT_THROW(write(UINT64_MAX, UINT64_MAX, "bbbb"), std::out_of_range);
    EXPECT_EQ(file.path, path(start));
    EXPECT_EQ(write(start + second, start + second, "cccc"), 4U);
    EXPECT_TRUE(rotated);
    EXPECT_EQ(read_file(path(start)),
              header_bytes({.file_size = 260, .last_ts = start + 1}) + "aaaa");
    EXPECT_THAT(log.take(), ElementsAre("4 first_timestamp 18446744073709551615is greater than "
                                        "current timestamp: 1794712887000000"));
}

TEST_F(DataFile, RefusesPathsOutsideItsRoot) {
    CapturedLog log;
    file.root_dir = dir.file("root");
    file.path_template = "{{source}}/f";
    for (const char *source : {"..", "../../..", "a/../../b"}) {
        file.source = source;
        file.first_ts = 0;
        EXPECT_EQ(write(start, start, "data"), 0U) << source;
        EXPECT_FALSE(rotated);
        EXPECT_EQ(file.path, "");
    }
    EXPECT_THAT(log.take(), ElementsAre("3 [data_file] Refused data file " + dir.file("root/../f") +
                                        " outside of folder " + dir.file("root")));
    EXPECT_TRUE(fs::is_empty(dir.path()));

    fs::create_directories(dir.file("elsewhere/inner"));
    fs::create_directory(dir.file("root"));
    fs::create_symlink(dir.file("elsewhere/inner"), dir.file("root/link"));
    file.source = "link/..";
    EXPECT_EQ(write(start + 1, start + 1, "data"), 4U);
    EXPECT_THAT(data_files_of(dir.path()), ElementsAre(dir.file("root/f")));
}

TEST_F(DataFile, LosesOnlyWhatItDidNotReportWhenFilesMayNotGrow) {
    file.block_size = page_block_size;
    const std::uint64_t largest = header_size + 3 * page_block_size;
    std::uint64_t time = start;
    for (std::uint64_t limit = 0; limit <= largest; limit += 29) {
        SCOPED_TRACE(limit);
        CapturedLog log;
        std::vector<std::uint64_t> reported;
        Lines lines;
        with_file_limit(limit, [&] {
            for (int page = 0; page < 6; ++page)
                if (write(++time) != 0) reported.push_back(time);
            lines = log.take();
        });
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

// Streams of several block sizes on one path, as of one process.
struct SharedPath {
    explicit SharedPath(const TempDir &dir) : path(dir.file("f")) {
        for (vrn_data_file_t &stream : streams) {
            vrn_data_file_init(&stream, &client, "node1", "tag", 1);
            stream.root_dir = dir.path();
            stream.path_template = "f";
            stream.block_size = &stream == &streams[1] ? 7 : 10;
        }
    }
    ~SharedPath() {
        for (vrn_data_file_t &stream : streams) vrn_data_file_destroy(&stream);
    }

    void append(std::size_t i) {
        const std::string page(streams[i].block_size, static_cast<char>('a' + pages++ % 26));
        ++time;
        if (vrn_data_file_write(&streams[i], time, time, page.data(), page.size(), nullptr) != 0)
            expected += page;
    }
    // What streams hold goes, and nothing else happens: no data waits in this process.
    void kill() {
        for (vrn_data_file_t &stream : streams) {
            static_cast<void>(stream.stream.close());
            stream.path.clear();
        }
    }
    void remove() {
        fs::remove(path);
        expected.clear();
    }

    const std::string path;
    std::array<vrn_data_file_t, 3> streams;
    std::uint64_t time = start;
    std::uint64_t pages = 0;
    std::string expected;
};

TEST_F(DataFile, CutsOnlyItsOwnPageOffASharedFile) {
    CapturedLog log;
    SharedPath shared(dir);
    for (const std::size_t stream : {0, 2}) shared.append(stream);
    with_file_limit(header_size + 27, [&] { shared.append(0); });
    EXPECT_EQ(shared.streams[0].path, "");
    EXPECT_EQ(read_file(shared.path).substr(header_size), shared.expected);
    EXPECT_THAT(log.take(),
                ElementsAre(AllOf(StartsWith("3 [data_file] Failed appending data file "),
                                  HasSubstr("File too large"))));
}

TEST_F(DataFile, KeepsTheReportedPagesOfAllStreamsOfAPath) {
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

TEST_F(DataFile, TakesAPageBackWhoseEndItCannotTell) {
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

TEST_F(DataFile, TellsOncePerStretchThatItsPlaceFails) {
    CapturedLog log;
    file.path_template = "{{source}}/{{id}}";
    const std::string folder = dir.write("node1", "no folder");
    EXPECT_EQ(write(start), 0U);
    EXPECT_EQ(write(start + 1), 0U);
    EXPECT_THAT(log.take(),
                ElementsAre("3 [data_file] Failed to create data file " + folder + "/" +
                            std::to_string(start) + ": Inaccessible data path " + folder));
    fs::remove(folder);
    EXPECT_NE(write(start + 2), 0U);

    vrn_data_file_set_path_template(&file, "{{source}}");
    EXPECT_EQ(write(start + 3), 0U);
    EXPECT_EQ(write(start + 4), 0U);
    EXPECT_THAT(log.take(), ElementsAre("3 [data_file] Failed to open data file " + folder +
                                            " for writing: Is a directory",
                                        "3 [data_file] Failed opening data file " + folder +
                                            ": Is a directory"));
    fs::remove_all(folder);
    EXPECT_NE(write(start + 5), 0U);
    fs::remove(folder);
    fs::create_symlink(dir.file("gone/f"), folder);
    for (const std::uint64_t time : {start + 6, start + 7}) EXPECT_EQ(write(time), 0U);
    EXPECT_THAT(log.take(), ElementsAre("3 [data_file] Failed to open file " + folder +
                                            " for writing: No such file or directory",
                                        "3 [data_file] Failed to create empty data file " + folder +
                                            ": No such file or directory"));
    fs::remove(folder);
    EXPECT_NE(write(start + 8), 0U);
    EXPECT_THAT(log.take(), IsEmpty());
}

}  // namespace
}  // namespace vrn::test
