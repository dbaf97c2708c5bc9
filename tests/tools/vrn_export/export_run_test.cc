// Exports by several threads, for ThreadSanitizer, too.
#include "vrn_export/export_run.h"

#include <map>
#include <mutex>

#include "support/byte_builder.h"
#include "support/sample_files.h"
#include "support/test.h"
#include "tools/vrn_export/line_format.h"

namespace vrn::exporter {
namespace {

using test::ByteBuilder;
using test::CapturedLog;
using test::TempDir;

// The texts of files in memory, as parts or in one order.
class MemoryOutput final : public ExportOutput {
  public:
    explicit MemoryOutput(bool is_ordered) : is_ordered_(is_ordered) {}

    bool is_ordered() const override { return is_ordered_; }
    std::unique_ptr<FileOutput> begin_file(std::size_t index, const InputFeed & /*feed*/) override {
        return std::make_unique<File>(this, index);
    }

    std::map<std::size_t, std::string> parts;
    std::string all;                           // in the order of writing
    std::size_t max_size = std::string::npos;  // then the disk is full

  private:
    class File final : public FileOutput {
      public:
        File(MemoryOutput *output, std::size_t index) : output_(output), index_(index) {}
        void write(const Encoded &encoded) override {
            const std::lock_guard lock(output_->mutex_);
            const std::string_view text = encoded.tables.front().text.view();
            if (output_->all.size() + text.size() > output_->max_size)
                throw std::runtime_error("disk full");
            output_->parts[index_] += text;
            output_->all += text;
        }
        void finish(FileReport * /*report*/) override {}

      private:
        MemoryOutput *output_;
        std::size_t index_;
    };

    bool is_ordered_;
    std::mutex mutex_;
};

constexpr char other_id[] = "33333333333333333333333333333333";
constexpr std::size_t chunk_size = 65536;

std::string chunk(const std::string &blocks) {
    return ByteBuilder().text(blocks).pad_to(chunk_size).done();
}

std::string other_schemas() {
    vrn_schema_id_t id{};
    EXPECT_TRUE(vrn_schema_id_from_hex(other_id, &id));
    return ByteBuilder()
        .text("VRNS")
        .u16(256)
        .u16(1)
        .zeros(8)
        .raw(&id, sizeof id)
        .pad_to(256)
        .done();
}

class ExportRunThreads : public testing::Test {
  protected:
    void SetUp() override {
        test::write_sample_schemas(dir_);
        dir_.write(std::string("schema/schema_") + other_id + ".json", test::sample_event_schema());
        const std::string header = test::sample_file_header(chunk_size);
        for (std::uint64_t i = 0; i < 60; ++i) add("small", header + chunk(event_block(i)));
        std::string large = header;
        // Runs of 16 chunks; the schemas change amid a chunk of the second run.
        for (std::uint64_t i = 0; i < 160; ++i)
            large += chunk(event_block(i) + (i == 20 ? other_schemas() : ""));
        add("large", large);
        add("cut", large.substr(0, header.size() + 80 * chunk_size + 3));
        add("other", "no data file");
        add("empty", "");
        files_.push_back({dir_.file("missing"), {}, 0});
    }

    void add(const std::string &name, const std::string &bytes) {
        files_.push_back(
            {dir_.write(name + std::to_string(files_.size()), bytes), {}, bytes.size()});
    }

    // Reports as "path faults events".
    test::Lines run(unsigned threads, MemoryOutput *output) {
        SchemaCaches schemas(
            {.folder = dir_.file("schema"), .take_what_loads = true, .keep_noisy_loads = true});
        test::Lines reports;
        ExportRun run({.files = files_,
                       .format = format_,
                       .schemas = schemas,
                       .output = *output,
                       .threads = threads,
                       .take_report =
                           [&](const FileReport &report) {
                               reports.push_back(report.path + " " +
                                                 std::to_string(report.num_faults) + " " +
                                                 std::to_string(report.counts.events));
                           },
                       .note_bytes = [](std::uint64_t) {}});
        run.run();
        return reports;
    }

    TempDir dir_;
    CapturedLog log_;
    LineFormat format_;
    std::vector<tool::InputFile> files_;
};

TEST_F(ExportRunThreads, GiveTheTextOfOne) {
    MemoryOutput expected(true);
    const test::Lines reports = run(1, &expected);
    ASSERT_EQ(reports.size(), files_.size());
    EXPECT_EQ(reports[60], files_[60].path + " 0 160");
    EXPECT_EQ(reports[61], files_[61].path + " 1 80");
    for (std::size_t i = 62; i < files_.size(); ++i) EXPECT_EQ(reports[i], files_[i].path + " 1 0");
    // By the schemas that hold there: ids of 0x11... and 0x33....
    for (const char *line : {"node1 17 20\n", "node1 51 21\n", "node1 51 159\n"})
        EXPECT_NE(expected.parts[60].find(line), std::string::npos) << line;
    for (const unsigned threads : {1U, 2U, 5U})
        for (const bool is_ordered : {true, false}) {
            SCOPED_TRACE(threads);
            MemoryOutput output(is_ordered);
            EXPECT_EQ(run(threads, &output), reports);
            EXPECT_EQ(output.parts, expected.parts);
            EXPECT_TRUE(!is_ordered || output.all == expected.all);
        }
}

TEST_F(ExportRunThreads, EndWhenTheOutputIsFull) {
    for (const bool is_ordered : {true, false}) {
        MemoryOutput output(is_ordered);
        output.max_size = 1000;
        EXPECT_THROW(run(4, &output), std::runtime_error);
        EXPECT_LE(output.all.size(), 1000U);
    }
}

}  // namespace
}  // namespace vrn::exporter
