// The bound on the total size of what a data writer stores.
#include "data/data_writer_limit.h"

#include <gmock/gmock.h>

#include <boost/filesystem.hpp>

#include "data/data_writer.h"
#include "support/data_tree.h"
#include "support/test.h"
#include "support/test_page.h"

namespace vrn::test {
namespace {

namespace fs = boost::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::uint64_t start = 1'794'712'886'000'000;

class DataWriterLimit : public ::testing::Test {
  protected:
    DataWriterLimit() : writer(vrn_data_writer_create(&client)) {
        vrn_data_writer_set_data_dir(writer.get(), dir.path().c_str());
        vrn_data_writer_set_counters_path_template(writer.get(), "{{tag}}{{id}}");
    }
    // A page of 100 bytes of data.
    bool write(std::uint64_t time, const char *tag = "") {
        TestPage page;
        page.names("node1", tag).times(time, time).data("VRND");
        return vrn_data_writer_write_page(writer.get(), page.get(), nullptr);
    }
    std::string path(std::uint64_t time) const { return dir.file(std::to_string(time)); }
    void keep(const std::string &path_of_file, std::uint64_t size) {
        writer->written_files.push_back({path_of_file, size});
        writer->total_size += size;
    }

    const vrn_client_id_t client{.host_name = "collector", .port = 0};
    const TempDir dir;
    vrn_data_writer_ptr writer;
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
    vrn_data_writer_set_file_size_limit(writer.get(), 256 + 200);  // two pages a file
    EXPECT_TRUE(write(start - 9));                                 // before the limit: not counted
    EXPECT_TRUE(vrn_data_writer_set_data_size_limit(writer.get(), 1000));
    vrn_data_file_finish(&writer->files.begin()->second);
    for (int page = 0; page < 10; ++page) EXPECT_TRUE(write(start + page));
    EXPECT_EQ(writer->total_size, 1000U);
    EXPECT_THAT(data_files_of(dir.path()), SizeIs(6));
    EXPECT_TRUE(write(start + 10));
    // 1100 bytes are above the limit; 500 leave room for one more file.
    EXPECT_EQ(writer->total_size, 500U);
    EXPECT_THAT(data_files_of(dir.path()),
                ElementsAre(path(start - 9), path(start + 6), path(start + 8), path(start + 10)));
}

TEST_F(DataWriterLimit, RemovesTheFileBeingWrittenWhenItIsTheLast) {
    CapturedLog log;
    vrn_data_writer_set_file_size_limit(writer.get(), 256 + 100);
    EXPECT_TRUE(vrn_data_writer_set_data_size_limit(writer.get(), 357));
    for (int page = 0; page < 4; ++page) EXPECT_TRUE(write(start));  // one time, one file
    EXPECT_THAT(data_files_of(dir.path()), IsEmpty());
    EXPECT_EQ(writer->total_size, 0U);
    EXPECT_TRUE(write(start));
    EXPECT_THAT(data_files_of(dir.path()), ElementsAre(path(start)));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(DataWriterLimit, CountsIntoTheNewestFile) {
    EXPECT_TRUE(vrn_data_writer_set_data_size_limit(writer.get(), UINT64_MAX));
    EXPECT_TRUE(write(start, "a"));
    EXPECT_TRUE(write(start, "b"));
    EXPECT_TRUE(write(start + 1, "a"));
    ASSERT_THAT(writer->written_files, SizeIs(2));
    EXPECT_EQ(writer->written_files[0].path, dir.file("a_" + std::to_string(start)));
    EXPECT_EQ(writer->written_files[0].size, 100U);
    EXPECT_EQ(writer->written_files[1].size, 200U);
    EXPECT_EQ(writer->total_size, 300U);
}

TEST_F(DataWriterLimit, ComparesWithoutASign) {
    writer->file_size_limit = UINT64_MAX - 50;
    writer->data_size_limit = UINT64_MAX;
    keep(dir.write("a", ""), 60);
    vrn_data_writer_enforce_limit(writer.get());
    EXPECT_THAT(writer->written_files, SizeIs(1));
    // The sum with the limit of a file wraps: 60 bytes count as few enough.
    writer->data_size_limit = 80;
    keep(dir.write("b", ""), 60);
    vrn_data_writer_enforce_limit(writer.get());
    EXPECT_EQ(writer->total_size, 60U);
    EXPECT_THAT(data_files_of(dir.path()), ElementsAre(dir.file("b")));
}

TEST_F(DataWriterLimit, GoesOnBehindFilesThatAreGone) {
    CapturedLog log;
    vrn_data_writer_enforce_limit(writer.get());
    EXPECT_THAT(log.take(),
                ElementsAre("3 [data_writer] Cannot enforce data size limit, limit unset."));
    writer->file_size_limit = 10;
    writer->data_size_limit = 100;
    keep(dir.file("gone"), 60);
    keep(dir.write("a", ""), 60);
    vrn_data_writer_enforce_limit(writer.get());
    EXPECT_THAT(log.take(), ElementsAre("3 [data_writer] File doesn't exist: " + dir.file("gone")));
    EXPECT_THAT(data_files_of(dir.path()), ElementsAre(dir.file("a")));
    EXPECT_EQ(writer->total_size, 60U);
}

TEST_F(DataWriterLimit, StopsAtAFileThatCannotBeRemoved) {
    CapturedLog log;
    writer->file_size_limit = 10;
    writer->data_size_limit = 100;
    dir.write("full/a", "");
    keep(dir.file("full"), 60);  // a folder that isn't empty
    keep(dir.write("b", ""), 60);
    vrn_data_writer_enforce_limit(writer.get());
    const auto lines = log.take();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_TRUE(lines[0].starts_with("3 [data_writer] Failed to remove file: ")) << lines[0];
    EXPECT_THAT(writer->written_files, SizeIs(2));
    EXPECT_EQ(writer->written_files[0].path, "");
    vrn_data_writer_enforce_limit(writer.get());
    EXPECT_THAT(log.take(), ElementsAre("3 [data_writer] File doesn't exist: "));
    EXPECT_THAT(data_files_of(dir.path()), ElementsAre(dir.file("b"), dir.file("full/a")));
}

}  // namespace
}  // namespace vrn::test
