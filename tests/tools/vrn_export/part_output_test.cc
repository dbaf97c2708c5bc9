#include "vrn_export/part_output.h"

#include <filesystem>
#include <optional>

#include "support/child_process.h"
#include "support/file_limit.h"
#include "support/sample_files.h"
#include "support/test.h"
#include "tools/vrn_export/line_format.h"
#include "vrn_export/export_run.h"

namespace vrn::exporter {
namespace {

using test::CapturedLog;
using test::Lines;
using test::TempDir;

class PartOutputFiles : public testing::Test {
  protected:
    void SetUp() override {
        test::write_sample_schemas(dir_);
        for (const char *name : {"in/a", "in/b", "in/c"}) {
            const std::string bytes = test::sample_file_header(384) + event_block(files_.size());
            const std::string path = dir_.write(name, bytes);
            struct stat status {};
            stat(path.c_str(), &status);
            files_.push_back({path, tool::FileId(status), bytes.size()});
        }
    }

    // Reports as "faults kept bytes_out".
    Lines run(Compression compression = Compression::none) {
        Lines reports;
        PartJournal journal(dir_.file("journal"), "options", true);
        const tool::InputIds inputs(tool::ids_of(files_));
        PartOutput output(dir_.file("out"), ".txt", files_, inputs, {format_, compression},
                          &journal);
        SchemaCaches schemas({.folder = dir_.file("schema")});
        ExportRun run({.files = files_,
                       .format = format_,
                       .schemas = schemas,
                       .output = output,
                       .compression = compression,
                       .take_report =
                           [&](const FileReport &report) {
                               reports.push_back(std::to_string(report.num_faults) +
                                                 (report.is_kept ? " kept " : " made ") +
                                                 std::to_string(report.bytes_out));
                           },
                       .note_bytes = [](std::uint64_t) {}});
        run.run();
        return reports;
    }

    std::map<std::string, std::string> parts() const {
        const std::string folder = dir_.file("out") + dir_.file("in");
        if (!std::filesystem::exists(folder)) return {};
        return test::files_in(folder);
    }

    TempDir dir_;
    CapturedLog log_;
    LineFormat format_;
    std::vector<tool::InputFile> files_;
};

const std::map<std::string, std::string> whole = {
    {"a.txt", "a node1 17 0\n"}, {"b.txt", "b node1 17 1\n"}, {"c.txt", "c node1 17 2\n"}};

TEST_F(PartOutputFiles, AreWholeAfterAKillAndThenKept) {
    bool has_ended = false;
    std::size_t kills = 0;
    for (; !has_ended && kills < 500; ++kills) {
        SCOPED_TRACE(kills);
        std::filesystem::remove_all(dir_.file("out"));
        std::filesystem::remove(dir_.file("journal"));
        has_ended = test::run_and_kill([&] { run(); }, kills);
        const auto left = parts();
        for (const auto &[name, text] : left) EXPECT_EQ(text, whole.at(name));
        const Lines reports = run();
        EXPECT_EQ(parts(), whole);
        EXPECT_EQ(std::ranges::count(reports, "0 kept 13"), static_cast<long>(left.size()));
    }
    EXPECT_TRUE(has_ended);
    EXPECT_GT(kills, 15U);
}

TEST_F(PartOutputFiles, AreMadeAnewWhenTheirInputsChange) {
    EXPECT_EQ(run(), Lines(3, "0 made 13"));
    EXPECT_EQ(run(), Lines(3, "0 kept 13"));
    const auto time = std::filesystem::last_write_time(files_[0].path);
    std::filesystem::last_write_time(files_[0].path, time + std::chrono::seconds(1));
    test::with_file_limit(4, [&] { EXPECT_THROW(run(), std::system_error); });
    EXPECT_EQ(parts(), whole);
    EXPECT_EQ(run(), (Lines{"0 made 13", "0 kept 13", "0 kept 13"}));
    dir_.write("journal", "other options\n");
    EXPECT_EQ(run(), Lines(3, "0 made 13"));
}

}  // namespace
}  // namespace vrn::exporter
