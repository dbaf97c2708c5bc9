// Scans at the same time, for ThreadSanitizer above all.
#include <thread>

#include "scan/data_file_scan.h"
#include "scan/note_visitor.h"
#include "support/sample_files.h"
#include "support/test.h"
#include "utils/log_capture.h"

namespace vrn::test {
namespace {

TEST(ScanThreads, ShareSchemasAndKeepTheirLogsApart) {
    const TempDir dir;
    write_sample_schemas(dir);
    const std::string sample = sample_data_file();
    std::string damaged = sample;
    damaged.replace(132, 16, 16, '9');  // the event schema's id
    const std::string paths[] = {dir.write("a.bin", sample), dir.write("b.bin", damaged)};
    scan::SchemaCache schemas({.folder = dir.file("schema")});
    CapturedLog process_log;

    constexpr int rounds = 20;
    std::vector<LogLine> lines[2];
    Lines notes[2];
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 2; ++i) {
        threads.emplace_back([&, i] {
            LogCapture log;
            for (int round = 0; round < rounds; ++round) {
                NoteVisitor visitor;
                EXPECT_TRUE(scan::scan_data_file(paths[i].c_str(), &schemas, &visitor));
                notes[i] = visitor.notes;
                EXPECT_EQ(visitor.faults.empty(), i == 0);
            }
            lines[i] = log.take();
        });
    }
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(process_log.take(), Lines{});
    EXPECT_EQ(lines[0].size(), 0U);
    EXPECT_EQ(lines[1].size(), 2U * rounds);
    EXPECT_EQ(notes[0].size(), 11U);
}

}  // namespace
}  // namespace vrn::test
