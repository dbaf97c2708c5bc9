#include "scan/chunk_feed.h"

#include "scan/data_file_scan.h"
#include "scan/note_visitor.h"
#include "support/byte_builder.h"
#include "support/sample_files.h"
#include "support/test.h"

namespace vrn::test {
namespace {

constexpr char other_events_id[] = "33333333333333333333333333333333";
constexpr std::size_t chunk_size = 384;

// Without the notes of schemas, which a run of chunks begins with.
Lines records_of(const NoteVisitor &visitor) {
    Lines records;
    for (const std::string &note : visitor.notes)
        if (!note.starts_with("schemas")) records.push_back(note);
    return records;
}

class ChunkFeed : public testing::Test {
  protected:
    void SetUp() override {
        write_sample_schemas(dir_);
        dir_.write("schema/schema_" + std::string(other_events_id) + ".json",
                   sample_event_schema());
    }

    struct Walked {
        std::size_t runs = 0;
        std::size_t walked_anew = 0;
    };

    // Runs in order, each by the schemas that the one before ended with.
    Walked walk(const std::string &bytes, NoteVisitor *visitor) {
        const std::unique_ptr<ByteSource> source = ByteSource::open_memory(bytes_of(bytes));
        scan::ChunkFeed feed(source.get(), &schemas_);
        Walked walked;
        if (!feed.open(visitor)) return walked;
        scan::ChunkRun run;
        std::shared_ptr<const scan::LoadedSchemas> schemas;
        for (; feed.take(&run); ++walked.runs) {
            scan::PageBuffer buffer;
            const NoteVisitor before = *visitor;
            scan::ChunkRunEnd end = scan::walk_chunk_run(run, &schemas_, &buffer, visitor);
            if (walked.runs > 0 && end.used_first_schemas && run.schemas != schemas) {
                ++walked.walked_anew;
                *visitor = before;
                run.schemas = schemas;
                end = scan::walk_chunk_run(run, &schemas_, &buffer, visitor);
            }
            schemas = end.schemas;
            if (end.next == scan::Next::nothing) break;
        }
        return walked;
    }

    TempDir dir_;
    scan::SchemaCache schemas_{
        {.folder = dir_.file("schema"), .take_what_loads = true, .keep_noisy_loads = true}};
    CapturedLog log_;
};

TEST_F(ChunkFeed, ShowsWhatAScanShowsOfAFileCutAnywhere) {
    const std::string sample = sample_data_file();
    for (std::size_t size = 0; size <= sample.size(); ++size) {
        SCOPED_TRACE(size);
        const std::string bytes = sample.substr(0, size);
        const std::unique_ptr<ByteSource> source = ByteSource::open_memory(bytes_of(bytes));
        scan::PageBuffer buffer;
        NoteVisitor scanned;
        scan::DataFileScan(source.get(), &schemas_, &buffer, &scanned).run();
        NoteVisitor walked;
        walk(bytes, &walked);
        EXPECT_EQ(records_of(walked), records_of(scanned));
        EXPECT_EQ(walked.blocks, scanned.blocks);
        EXPECT_EQ(walked.faults, scanned.faults);
    }
}

TEST_F(ChunkFeed, FollowsSchemasFromRunToRun) {
    const std::string sample = sample_data_file();
    const std::string events = sample.substr(sizeof(vrn_data_file_header_t), chunk_size);
    vrn_schema_id_t id{};
    ASSERT_TRUE(vrn_schema_id_from_hex(other_events_id, &id));
    const std::string schemas_block =
        ByteBuilder().text("VRNS").u16(256).u16(1).zeros(8).raw(&id, sizeof id).pad_to(256).done();
    const std::string first_block = events.substr(0, events.find("VRNS"));
    const std::string named_first = ByteBuilder().text(schemas_block + first_block).done();
    const std::string named_late = ByteBuilder().text(first_block + schemas_block).done();
    const auto many = [&](const std::string &changed) {
        std::string chunks = ByteBuilder().text(changed).pad_to(chunk_size).done();
        const std::string plain = ByteBuilder().text(first_block).pad_to(chunk_size).done();
        while (chunks.size() <= 2 * scan::ChunkRun::run_size) chunks += plain;
        return sample.substr(0, sizeof(vrn_data_file_header_t)) + chunks;
    };
    for (const auto &[changed, walked_anew] :
         {std::pair(named_first, 0U), std::pair(named_late, 2U)}) {
        const std::string bytes = many(changed);
        NoteVisitor visitor;
        const Walked walked = walk(bytes, &visitor);
        EXPECT_EQ(walked.runs, 3U);
        EXPECT_EQ(walked.walked_anew, walked_anew);
        EXPECT_EQ(visitor.blocks.size(), 2 * (bytes.size() / chunk_size));
        EXPECT_EQ(visitor.faults.size(), 0U);
    }
}

}  // namespace
}  // namespace vrn::test
