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
            files_.push_back({dir_.file(name), {}, 0});
            write_input(files_.size() - 1, std::string(16, '\0'), 0);
        }
    }

    // An input as old as `seconds`, with `end` after its event.
    void write_input(std::size_t index, const std::string &end, int seconds) {
        tool::InputFile &file = files_[index];
        const std::string bytes = test::sample_file_header(384) + event_block(index) + end;
        dir_.write("in/" + std::string(1, file.path.back()), bytes);
        std::filesystem::last_write_time(file.path, time_ - std::chrono::seconds(seconds));
        struct stat status {};
        stat(file.path.c_str(), &status);
        file = {file.path, tool::FileId(status), bytes.size()};
    }

    // Reports as "faults kept bytes_out". `separator` is the only option.
    Lines run(const std::string &separator = " ") {
        Lines reports;
        const LineFormat format(separator);
        PartJournal journal(dir_.file("out"), dir_.file("parts.journal"), separator + "options",
                            true);
        const tool::InputIds inputs(tool::ids_of(files_));
        PartOutput output(dir_.file("out"), ".txt", files_, inputs, {format}, &journal);
        SchemaCaches schemas({.folder = dir_.file("schema")});
        ExportRun run({.files = files_,
                       .format = format,
                       .schemas = schemas,
                       .output = output,
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
        auto files = test::files_in(folder);
        // A kill may leave a spare name.
        std::erase_if(files, [](const auto &file) { return file.first.starts_with(".vrn-"); });
        return files;
    }

    TempDir dir_;
    CapturedLog log_;
    std::filesystem::file_time_type time_ = std::filesystem::file_time_type::clock::now();
    std::vector<tool::InputFile> files_;
};

const std::map<std::string, std::string> whole = {
    {"a.txt", "a node1 17 0\n"}, {"b.txt", "b node1 17 1\n"}, {"c.txt", "c node1 17 2\n"}};

// Of the parts of an earlier run none is taken for one of this run, though all have the same size:
// they are of other options, or of a damaged input that was replaced.
TEST_F(PartOutputFiles, AreWholeAfterAKillAndThenKept) {
    for (const std::string earlier : {"+", " "}) {
        SCOPED_TRACE(earlier);
        bool has_ended = false;
        std::size_t kills = 0;
        for (; !has_ended && kills < 500; ++kills) {
            SCOPED_TRACE(kills);
            std::filesystem::remove_all(dir_.file("out"));
            std::filesystem::remove(dir_.file("parts.journal"));
            write_input(2, "junkjunkjunkjunk", 1);
            EXPECT_EQ(run(earlier), (Lines{"0 made 13", "0 made 13", "1 made 13"}));
            write_input(2, std::string(16, '\0'), 0);
            has_ended = test::run_and_kill([&] { run(); }, kills);
            const auto left = parts();
            long made = 0;
            for (const auto &[name, text] : whole) made += left.at(name) == text ? 1 : 0;
            const Lines reports = run();
            EXPECT_EQ(parts(), whole);
            const long kept = std::ranges::count(reports, "0 kept 13");
            EXPECT_EQ(kept + std::ranges::count(reports, "0 made 13"), 3);
            // Only of one that was about to be noted it isn't known.
            EXPECT_LE(kept, made);
            EXPECT_GE(kept, has_ended ? 3 : made - 1);
        }
        EXPECT_TRUE(has_ended);
        EXPECT_GT(kills, 15U);
    }
}

TEST_F(PartOutputFiles, AreMadeAnewWhenTheirInputsChange) {
    EXPECT_EQ(run(), Lines(3, "0 made 13"));
    EXPECT_EQ(run(), Lines(3, "0 kept 13"));
    write_input(0, std::string(16, '\0'), -1);
    test::with_file_limit(4, [&] { EXPECT_THROW(run(), std::system_error); });
    EXPECT_EQ(parts(), whole);
    EXPECT_EQ(run(), (Lines{"0 made 13", "0 kept 13", "0 kept 13"}));
    // Restored from an older copy.
    write_input(1, "", 1000);
    EXPECT_EQ(run(), (Lines{"0 kept 13", "0 made 13", "0 kept 13"}));
    dir_.write("parts.journal", "other options\n");
    EXPECT_EQ(run(), Lines(3, "0 made 13"));
}

TEST_F(PartOutputFiles, AreNotMadeByTwoOptionsAtATime) {
    run();
    const std::string path = dir_.file("parts.journal");
    const PartJournal one(dir_.file("out"), path, " options", true);
    const PartJournal same(dir_.file("out"), path, " options", false);
    EXPECT_TRUE(one.has_resumed());
    EXPECT_FALSE(same.has_resumed());
    EXPECT_THROW(run("+"), std::runtime_error);
    // A shard of another number would make the same parts.
    EXPECT_THROW(PartJournal(dir_.file("out"), dir_.file("x.journal"), "+", false),
                 std::runtime_error);
    EXPECT_EQ(run(), Lines(3, "0 kept 13"));
}

}  // namespace
}  // namespace vrn::exporter
