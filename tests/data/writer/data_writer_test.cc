#include "data/writer/data_writer.h"

#include <gmock/gmock.h>

#include <boost/filesystem.hpp>
#include <functional>

#include "support/data_tree.h"
#include "support/file_limit.h"
#include "support/test.h"
#include "support/test_page.h"

namespace vrn::test {
namespace {

namespace fs = boost::filesystem;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr std::uint64_t start = 1'794'712'886'000'000;  // 2026-11-15 03:21:26 UTC
constexpr std::size_t header_size = 256;

class DataWriter : public ::testing::Test {
  protected:
    DataWriter() : writer(vrn_data_writer_create(&client)) {
        EXPECT_TRUE(vrn_data_writer_set_data_dir(writer.get(), dir.path().c_str()));
        EXPECT_TRUE(
            vrn_data_writer_set_counters_path_template(writer.get(), "{{source}}/{{tag}}{{id}}"));
        page.times(start, start).data("VRND");
    }
    bool write(TestPage &other) {
        return vrn_data_writer_write_page(writer.get(), other.get(), nullptr);
    }
    // What the file named `name` holds after its header.
    std::string data_of(const std::string &name) const {
        const std::string bytes = read_file(dir.file(name));
        return bytes.size() < header_size ? "" : bytes.substr(header_size);
    }
    Lines files_on_disk() const {
        Lines names;
        for (const std::string &path : data_files_of(dir.path()))
            names.push_back(path.substr(dir.path().size() + 1));
        return names;
    }

    // Lines so far, without those of the page's own functions.
    static Lines writer_lines(CapturedLog *log) {
        Lines lines = log->take();
        std::erase_if(lines, [](const auto &line) { return line.starts_with("7 [data_page]"); });
        return lines;
    }

    const vrn_client_id_t client{.host_name = "collector", .port = 0};
    const TempDir dir;
    vrn_data_writer_ptr writer;
    TestPage page;  // 100 bytes of data in a block
};

TEST_F(DataWriter, WritesWholeBlocks) {
    // clang-format off
    const struct { std::size_t filled, area; std::uint32_t block_size; std::size_t written; } cases[] = {
        {1, 1000, 100, 100},   {100, 1000, 100, 100}, {101, 1000, 100, 200}, {1, 1000, 0, 1000},
        {1000, 1000, 0, 1000}, {250, 250, 100, 300},  {5, 5, 5, 5},          {6, 9, 1, 6},
        {5, 9, 100, 100},      {9, 9, 1000, 1000},
    };
    // clang-format on
    for (const auto &test : cases) {
        SCOPED_TRACE(test.filled);
        TestPage sized(test.area, 0);
        sized.head().block_size = test.block_size;
        const std::string source = std::to_string(&test - cases);
        sized.names(source, "").times(start, start).data(std::string(test.area, 'd'));
        EXPECT_TRUE(write(sized.data("VRND").fill(test.filled)));
        std::string expected = "VRND" + std::string(test.area - 4, 'd');
        expected.resize(test.written, '\0');
        EXPECT_EQ(data_of(source + "/" + std::to_string(start)), expected);
    }
}

TEST_F(DataWriter, TakesTemplatesThatLeaveItsFolderOnlyInFrontOfNames) {
    CapturedLog log;
    EXPECT_TRUE(vrn_data_writer_set_data_dir(writer.get(), dir.file("root").c_str()));
    EXPECT_FALSE(vrn_data_writer_set_counters_path_template(writer.get(), "{{tag}}/../../{{id}}"));
    EXPECT_FALSE(vrn_data_writer_set_data_path_template(writer.get(), "{{source}}/../.."));
    EXPECT_EQ(log.take(),
              (Lines{"3 [data_writer] Path template {{tag}}/../../{{id}} steps out of its folder",
                     "3 [data_writer] Path template {{source}}/../.. steps out of its folder"}));
    EXPECT_TRUE(vrn_data_writer_set_counters_path_template(writer.get(), "../other/{{source}}/f"));
    EXPECT_TRUE(write(page.names("node1", "")));
    EXPECT_TRUE(write(page.names("../..", "")));
    EXPECT_THAT(files_on_disk(), ElementsAre("other/node1/f"));
    EXPECT_EQ(vrn_data_writer_get_lost_pages(writer.get()), 1U);
}

TEST_F(DataWriter, SkipsPages) {
    // clang-format off
    const struct {
        const char *name; std::function<void(vrn_data_page_t &)> change;
        Lines lines;  // none: stored
    } cases[] = {
        {"old minor", [](auto &head) { head.version = 0x00000601; },
         {"4 [data_writer] Received incompatible data page. Skipping."}},
        {"other major", [](auto &head) { head.version = 0x00000702; },
         {"4 [data_writer] Received incompatible data page. Skipping."}},
        {"oldest version", [](auto &head) { head.version = 0x00000701; }, {}},
        {"empty", [](auto &head) { head.filled_bytes = 720; },
         {"7 [data_writer] Received empty data page. Skipping."}},
        {"filled amid its header", [](auto &head) { head.filled_bytes = 719; },
         {"3 [data_writer] Data page of 1720 bytes has 719 filled. Skipping."}},
        {"filled beyond its end", [](auto &head) { head.filled_bytes = 1721; },
         {"3 [data_writer] Data page of 1720 bytes has 1721 filled. Skipping."}},
        {"cut to a part of its header", [](auto &head) { head.page_size = 100; },
         {"3 [data_writer] Data page of 100 bytes has 724 filled. Skipping."}},
        {"a block that no reader takes", [](auto &head) { head.block_size = 125'829'120; },
         {"3 [data_writer] Data page of 1720 bytes has a block size of 125829120. Skipping."}},
    };
    // clang-format on
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        CapturedLog log(7);
        TestPage changed = page;
        test.change(changed.head());
        const std::uint64_t lost_before = vrn_data_writer_get_lost_pages(writer.get());
        EXPECT_TRUE(write(changed));
        EXPECT_EQ(writer_lines(&log), test.lines);
        const bool is_lost = !test.lines.empty() && test.name != std::string("empty");
        EXPECT_EQ(vrn_data_writer_get_lost_pages(writer.get()) - lost_before, is_lost);
        EXPECT_EQ(fs::exists(dir.file("node1")), test.lines.empty());
        fs::remove_all(dir.file("node1"));
    }
}

TEST_F(DataWriter, ActsOnTheFirstBlock) {
    const std::string schemas =
        ByteBuilder().text("VRNS").u16(128).u16(7).zeros(8).text("0123").done();
    const std::string no_ids(18, '\0');
    // clang-format off
    const struct {
        const char *tag; std::string data; Lines lines;
        std::string schema_ids;  // first bytes of the header's counters and event schema ids
    } cases[] = {
        {"counters", "VRND", {}, ByteBuilder().u8(7).zeros(17).done()},
        {"schemas", schemas, {}, ByteBuilder().zeros(16).text("01").done()},
        {"events", "VRNE",
         {"4 [data_writer] First data block is VRNE. No schema ids could be extracted."}, no_ids},
        {"metrics", "CNTX", {"7 [data_writer] First data block is CNTX."}, no_ids},
        {"page", "VRNP", {"7 [data_writer] First data block is VRNP."}, no_ids},
    };
    // clang-format on
    page.head().schema_id.bytes[0] = 7;
    for (const auto &test : cases) {
        SCOPED_TRACE(test.tag);
        CapturedLog log(7);
        EXPECT_TRUE(write(page.names("node1", test.tag).data(test.data)));
        EXPECT_EQ(writer_lines(&log), test.lines);
        const std::string bytes =
            read_file(dir.file("node1/" + std::string(test.tag) + "_" + std::to_string(start)));
        EXPECT_EQ(bytes.size(), header_size + 100);
        EXPECT_EQ(bytes.substr(0, header_size).substr(116, 18), test.schema_ids);
    }
}

TEST_F(DataWriter, DumpsPagesItCannotStore) {
    for (const char *data : {"VRNB", "VRN", "V"}) {
        SCOPED_TRACE(data);
        CapturedLog log;
        TestPage small(std::strlen(data), 1);
        ::testing::internal::CaptureStdout();
        EXPECT_TRUE(write(small.data(data)));
        const std::string dump = ::testing::internal::GetCapturedStdout();
        EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 64);
        EXPECT_TRUE(dump.starts_with("01 18 03 00 00 00 00 00 ")) << dump;
        EXPECT_THAT(
            log.take(),
            ElementsAre("4 [data_writer] Unrecognized type of data page. Cannot save to file.",
                        std::string(data) == "VRNB" ? "4 [data_writer] type: 3 "
                                                    : "4 [data_writer] type: 4 "));
        EXPECT_THAT(files_on_disk(), IsEmpty());
    }
}

TEST_F(DataWriter, KeepsAStreamPerSourceAndTagWhoseFirstPageFixesTheTemplate) {
    EXPECT_TRUE(
        vrn_data_writer_set_data_path_template(writer.get(), "data/{{source}}/{{tag}}{{id}}"));
    EXPECT_TRUE(
        vrn_data_writer_set_counters_path_template(writer.get(), "rows/{{source}}/{{tag}}/{{id}}"));
    const std::string full(64, 'n');
    const std::string full_tag = "0123456789abcdef";
    EXPECT_TRUE(write(page.names("node1", "")));
    EXPECT_TRUE(write(page.names(full, full_tag)));
    EXPECT_TRUE(write(page.names("node1", "b").data("CNTX")));
    page.times(start - 5, start - 5);
    EXPECT_TRUE(write(page.names("node1", "")));
    EXPECT_TRUE(write(page.names("node1", "b").data("VRND")));
    const std::string id = std::to_string(start);
    const std::string before = std::to_string(start - 5);
    EXPECT_THAT(files_on_disk(),
                ElementsAre("data/node1/b_" + before, "data/node1/b_" + id,
                            "rows/" + full + full_tag + "/" + full_tag + "/" + id,
                            "rows/node1/counters/" + before, "rows/node1/counters/" + id));
}

TEST_F(DataWriter, AppliesChangesToOpenFiles) {
    vrn_data_writer_t *w = writer.get();
    EXPECT_TRUE(write(page));
    const vrn_data_file_t &file = w->files.begin()->second;
    EXPECT_TRUE(vrn_data_writer_set_keep_files_open(w, false));
    EXPECT_TRUE(vrn_data_writer_set_data_path_template(w, "x"));  // not of this file
    EXPECT_NE(file.path, "");
    EXPECT_TRUE(vrn_data_writer_set_file_age_limit(w, 5000));
    EXPECT_TRUE(vrn_data_writer_set_counters_path_template(w, "{{id}}"));
    EXPECT_EQ(file.path, "");
    EXPECT_EQ(file.max_file_age, 5000U);
    EXPECT_EQ(file.path_template, "{{id}}");
    EXPECT_FALSE(file.keep_open);  // handed on with the others
    EXPECT_FALSE(vrn_data_writer_set_data_dir(w, nullptr));
    EXPECT_FALSE(vrn_data_writer_set_counters_path_template(w, nullptr));
}

TEST_F(DataWriter, LosesOnlyThePageOfARefusedTime) {
    EXPECT_TRUE(write(page));
    EXPECT_FALSE(write(page.times(UINT64_MAX, UINT64_MAX)));
    EXPECT_EQ(vrn_data_writer_get_lost_pages(writer.get()), 1U);
    EXPECT_TRUE(write(page.times(start + 1, start + 1)));
    writer.reset();
    EXPECT_THAT(files_on_disk(), SizeIs(2));
    for (const std::string &name : files_on_disk()) EXPECT_EQ(data_of(name).size(), 100U);
}

TEST_F(DataWriter, OutlivesMoreSourcesThanHandles) {
    constexpr int sources = 300;
    for (int pass = 0; pass < 2; ++pass)
        for (int source = 0; source < sources; ++source) {
            page.names("", std::to_string(source)).times(start + pass, start);
            ASSERT_TRUE(write(page));
        }
    std::size_t open = 0;
    for (const auto &[key, file] : writer->files) open += file.stream.is_open();
    EXPECT_LE(open, 256U);
    const auto names = files_on_disk();
    EXPECT_THAT(names, SizeIs(sources));
    for (const std::string &name : names) EXPECT_EQ(data_of(name).size(), 200U) << name;
}

TEST_F(DataWriter, Filters) {
    CapturedLog log;
    EXPECT_TRUE(vrn_data_writer_set_page_filter(writer.get(), "good*", nullptr, nullptr, "bad",
                                                nullptr, nullptr));
    EXPECT_THAT(log.take(), Each(StartsWith("6 [data page filter] [data_writer] ")));
    for (const char *source : {"node1", "bad"})
        for (const char *tag : {"good1", "other"}) EXPECT_TRUE(write(page.names(source, tag)));
    EXPECT_THAT(files_on_disk(), ElementsAre("node1/good1_" + std::to_string(start)));
    EXPECT_EQ(vrn_data_writer_get_lost_pages(writer.get()), 0U);
}

TEST_F(DataWriter, TellsTheFirstTimeOfAFile) {
    CapturedLog log(7);
    const auto first_time = [&] {
        log.take();
        return vrn_data_writer_get_first_timestamp(writer.get(), page.get());
    };
    EXPECT_EQ(first_time(), 0U);
    EXPECT_THAT(log.take(), ElementsAre("3 could not find the source of the page!\n"));
    EXPECT_TRUE(write(page));
    page.times(start + 1, start + 1);
    EXPECT_EQ(first_time(), start);
    const std::string path = writer->files.begin()->second.path;
    fs::remove(path);
    EXPECT_EQ(first_time(), 0U);
    EXPECT_THAT(log.take(),
                ElementsAre("7 [data_writer] File path does not exist: " + path + ", returning 0"));
    EXPECT_TRUE(vrn_data_writer_set_file_size_limit(writer.get(), 5000));
    EXPECT_EQ(first_time(), 0U);
    EXPECT_THAT(log.take(),
                ElementsAre("3 [data_writer] Failed to get file path for timestamp query"));
}

// The bound on the total size of what is stored.
class DataWriterLimit : public DataWriter {
  protected:
    DataWriterLimit() {
        EXPECT_TRUE(vrn_data_writer_set_counters_path_template(writer.get(), "{{tag}}{{id}}"));
    }
    bool write_at(std::uint64_t time, const char *tag = "") {
        return write(page.names("node1", tag).times(time, time));
    }
    std::string path(std::uint64_t time) const { return dir.file(std::to_string(time)); }
    void keep(const std::string &path_of_file, std::uint64_t size) {
        writer->written.files.push_back({path_of_file, size});
        writer->written.total_size += size;
    }
    void enforce_limit() {
        vrn_written_files_enforce_limit(&writer->written, writer->data_size_limit,
                                        writer->file_size_limit);
    }
};

TEST_F(DataWriterLimit, MustExceedTheLimitOfAFile) {
    CapturedLog log;
    EXPECT_TRUE(vrn_data_writer_set_file_size_limit(writer.get(), 1000));
    EXPECT_TRUE(vrn_data_writer_set_data_size_limit(writer.get(), 1001));
    EXPECT_FALSE(vrn_data_writer_set_data_size_limit(writer.get(), 1000));
    EXPECT_FALSE(vrn_data_writer_set_data_size_limit(writer.get(), 1));
    EXPECT_EQ(writer->data_size_limit, 1001U);
    const char *line = "3 [data_writer] data size limit must be larger than file size limit";
    EXPECT_THAT(log.take(), ElementsAre(line, line));
    EXPECT_TRUE(vrn_data_writer_set_file_size_limit(writer.get(), 5000));
    EXPECT_TRUE(vrn_data_writer_set_data_size_limit(writer.get(), 0));
    EXPECT_EQ(writer->data_size_limit, 0U);
}

TEST_F(DataWriterLimit, RemovesTheOldestFiles) {
    EXPECT_TRUE(vrn_data_writer_set_file_size_limit(writer.get(), 256 + 200));  // two pages a file
    EXPECT_TRUE(write_at(start - 9));  // before the limit: not counted
    EXPECT_TRUE(vrn_data_writer_set_data_size_limit(writer.get(), 1000));
    vrn_data_file_finish(&writer->files.begin()->second);
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(write_at(start + i));
    EXPECT_EQ(writer->written.total_size, 1000U);
    EXPECT_THAT(data_files_of(dir.path()), SizeIs(6));
    EXPECT_TRUE(write_at(start + 10));
    // 1100 bytes are above the limit; 500 leave room for one more file.
    EXPECT_EQ(writer->written.total_size, 500U);
    EXPECT_THAT(data_files_of(dir.path()),
                ElementsAre(path(start - 9), path(start + 6), path(start + 8), path(start + 10)));
}

TEST_F(DataWriterLimit, RemovesTheFileBeingWrittenWhenItIsTheLast) {
    CapturedLog log;
    EXPECT_TRUE(vrn_data_writer_set_file_size_limit(writer.get(), 256 + 100));
    EXPECT_TRUE(vrn_data_writer_set_data_size_limit(writer.get(), 357));
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(write_at(start));  // one time, one file
    EXPECT_THAT(data_files_of(dir.path()), IsEmpty());
    EXPECT_EQ(writer->written.total_size, 0U);
    EXPECT_TRUE(write_at(start));
    EXPECT_THAT(data_files_of(dir.path()), ElementsAre(path(start)));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(DataWriterLimit, TellsOnceThatNoFileTakesAPage) {
    CapturedLog log(4);
    EXPECT_TRUE(vrn_data_writer_set_data_size_limit(writer.get(), UINT64_MAX));
    Lines lines;
    with_file_limit(header_size + 99, [&] {
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(write_at(start + i));
        lines = log.take();
    });
    EXPECT_THAT(lines, ElementsAre(StartsWith("3 [data_file] Failed appending data file "),
                                   "3 [data_writer] Failed to get file path after rotation"));
    EXPECT_TRUE(write_at(start + 3));
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(vrn_data_writer_get_lost_pages(writer.get()), 3U);
}

TEST_F(DataWriterLimit, CountsIntoTheNewestFile) {
    EXPECT_TRUE(vrn_data_writer_set_data_size_limit(writer.get(), UINT64_MAX));
    EXPECT_TRUE(write_at(start, "a"));
    EXPECT_TRUE(write_at(start, "b"));
    EXPECT_TRUE(write_at(start + 1, "a"));
    ASSERT_THAT(writer->written.files, SizeIs(2));
    EXPECT_EQ(writer->written.files[0].path, dir.file("a_" + std::to_string(start)));
    EXPECT_EQ(writer->written.files[0].size, 100U);
    EXPECT_EQ(writer->written.files[1].size, 200U);
    EXPECT_EQ(writer->written.total_size, 300U);
}

TEST_F(DataWriterLimit, ComparesWithoutASign) {
    writer->file_size_limit = UINT64_MAX - 50;
    writer->data_size_limit = UINT64_MAX;
    keep(dir.write("a", ""), 60);
    enforce_limit();
    EXPECT_THAT(writer->written.files, SizeIs(1));
    // The sum with the limit of a file wraps: 60 bytes count as few enough.
    writer->data_size_limit = 80;
    keep(dir.write("b", ""), 60);
    enforce_limit();
    EXPECT_EQ(writer->written.total_size, 60U);
    EXPECT_THAT(data_files_of(dir.path()), ElementsAre(dir.file("b")));
}

TEST_F(DataWriterLimit, GoesOnBehindFilesThatAreGoneAndStopsAtOneThatStays) {
    CapturedLog log;
    enforce_limit();
    EXPECT_THAT(log.take(),
                ElementsAre("3 [data_writer] Cannot enforce data size limit, limit unset."));
    writer->file_size_limit = 10;
    writer->data_size_limit = 100;
    dir.write("full/a", "");
    keep(dir.file("gone"), 60);
    keep(dir.file("full"), 100);  // a folder that isn't empty
    keep(dir.write("b", ""), 60);
    enforce_limit();
    EXPECT_THAT(log.take(), ElementsAre("3 [data_writer] File doesn't exist: " + dir.file("gone"),
                                        StartsWith("3 [data_writer] Failed to remove file: ")));
    EXPECT_EQ(writer->written.total_size, 160U);
    // It is given up the next time.
    enforce_limit();
    EXPECT_THAT(log.take(), ElementsAre("3 [data_writer] File doesn't exist: "));
    EXPECT_THAT(files_on_disk(), ElementsAre("b", "full/a"));
    EXPECT_EQ(writer->written.total_size, 60U);
}

}  // namespace
}  // namespace vrn::test
