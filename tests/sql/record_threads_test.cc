// The room's own threads without an engine, for ThreadSanitizer above all.
#include <zlib.h>

#include <atomic>
#include <thread>

#include "sql/file_set.h"
#include "sql/row_reader.h"
#include "support/sample_files.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using sql::FileSet;
using sql::RecordFilter;
using sql::RunQueue;

std::string repeated_chunks(int rounds) {
    const std::string sample = sample_data_file();
    const std::size_t header_size = sizeof(vrn_data_file_header_t);
    // Without the short one at the end.
    const std::size_t chunks_size =
        std::size_t{3} * load_le<vrn_data_file_header_t>(sample.data()).block_size;
    std::string file = sample.substr(0, header_size);
    for (int i = 0; i < rounds; ++i) file += sample.substr(header_size, chunks_size);
    return file;
}

std::string gzipped(const TempDir &dir, const std::string &bytes) {
    const std::string path = dir.file("whole.bin.gz");
    gzFile file = gzopen(path.c_str(), "wb1");
    gzwrite(file, bytes.data(), static_cast<unsigned>(bytes.size()));
    gzclose(file);
    return path;
}

struct Counts {
    std::atomic<std::uint64_t> events = 0;
    std::atomic<std::uint64_t> counters = 0;
};

template <typename Reader>
void count_rows(Reader reader, std::atomic<std::uint64_t> *count) {
    while (reader.next_piece())
        for (const sql::StagedRows &rows : reader.rows()) *count += rows.count;
}

void count_all(const FileSet &files, int threads, Counts *counts) {
    const RecordFilter filter;
    RunQueue event_queue(files);
    RunQueue counter_queue(files);
    std::vector<std::thread> running;
    for (int i = 0; i < threads; ++i)
        running.emplace_back([&] {
            count_rows(sql::EventReader(&event_queue, &filter, "move"), &counts->events);
            count_rows(sql::CounterReader(&counter_queue, &filter), &counts->counters);
        });
    for (std::thread &thread : running) thread.join();
}

TEST(SqlThreads, ShareFilesAndLoseNoRow) {
    const TempDir dir;
    write_sample_schemas(dir);
    constexpr int rounds = 2000;  // more than a run
    const std::string bytes = repeated_chunks(rounds);
    const std::vector<std::string> paths = {dir.write("a.bin", bytes), gzipped(dir, bytes),
                                            dir.write("b.bin", repeated_chunks(1))};
    constexpr std::uint64_t units = 2 * rounds + 1;
    for (const int threads : {1, 4}) {
        SCOPED_TRACE(threads);
        Counts counts;
        count_all(sql::find_files(paths, dir.file("schema")), threads, &counts);
        // Each unit has a run of events and a page of it, a block of counters and a page of two.
        EXPECT_EQ(counts.counters, 3 * units);
        EXPECT_EQ(counts.events % (2 * units), 0U);
        EXPECT_GT(counts.events, 0U);
    }
    EXPECT_EQ(vrn_sql_session()->bytes_ahead, 0U);
}

TEST(SqlThreads, TellSchemasThatDidNotHold) {
    const TempDir dir;
    write_sample_schemas(dir);
    const FileSet files =
        sql::find_files({dir.write("a.bin", repeated_chunks(2000))}, dir.file("schema"));
    const auto other = std::make_shared<scan::LoadedSchemas>();
    {
        RunQueue queue(files);
        sql::TakenRun first, second;
        ASSERT_TRUE(queue.take(&first));
        ASSERT_TRUE(queue.take(&second));
        RunQueue::end_walk(second, second.run.schemas, true);
        EXPECT_THROW(RunQueue::end_walk(first, other, true), sql::QueryError);
    }
    // Known before the next run is taken, they are its schemas.
    RunQueue queue(files);
    sql::TakenRun taken;
    ASSERT_TRUE(queue.take(&taken));
    RunQueue::end_walk(taken, other, true);
    ASSERT_TRUE(queue.take(&taken));
    EXPECT_EQ(taken.run.schemas, other);
}

}  // namespace
}  // namespace vrn::test
