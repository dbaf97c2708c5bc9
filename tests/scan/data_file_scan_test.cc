#include "scan/data_file_scan.h"

#include <map>

#include "scan/note_visitor.h"
#include "support/page_blocks.h"
#include "support/sample_files.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using scan::FaultKind;
using scan::Next;

using Kinds = std::vector<FaultKind>;

constexpr std::size_t header_size = sizeof(vrn_data_file_header_t);
constexpr std::size_t chunk_size = 384;  // of the sample file

class DataFileScan : public testing::Test {
  protected:
    void SetUp() override { write_sample_schemas(dir_); }

    bool scan(const std::string &bytes, scan::Visitor *visitor) {
        const std::unique_ptr<ByteSource> source = ByteSource::open_memory(bytes_of(bytes));
        scan::PageBuffer buffer;
        return scan::DataFileScan(source.get(), &schemas_, &buffer, visitor).run();
    }

    // Places of the schemas block: a wrong one of these names other schemas for what follows.
    bool names_schemas(std::size_t place) const {
        const std::size_t block = sample_.find("VRNS");
        return place >= block + 6 && place < block + 32;
    }

    // The sample's header and these chunks.
    std::string with_chunks(const std::string &chunks) const {
        return sample_.substr(0, header_size) + chunks;
    }

    const std::string sample_ = sample_data_file();
    TempDir dir_;
    scan::SchemaCache schemas_{{.folder = dir_.file("schema"), .take_what_loads = true}};
    CapturedLog log_;
};

TEST_F(DataFileScan, ShowsAFileInItsOrder) {
    NoteVisitor visitor;
    EXPECT_TRUE(scan(sample_, &visitor));
    EXPECT_EQ(visitor.notes,
              (Lines{"schemas 1", "events move", "events point", "counters 40", visitor.notes[4],
                     "events move", "events point", visitor.notes[7], "counters 40", "counters 40",
                     "counters 40"}));
    EXPECT_TRUE(visitor.notes[4].starts_with("page "));
    EXPECT_EQ(visitor.faults, Kinds{});
    EXPECT_EQ(log_.take(), Lines{});
}

TEST_F(DataFileScan, PassesEventsAndCountersOverWithoutSchemas) {
    NoteVisitor visitor;
    const std::string path = dir_.write("a.bin", sample_);
    EXPECT_TRUE(scan::scan_data_file(path.c_str(), nullptr, &visitor));
    EXPECT_EQ(visitor.notes.size(), 2U);  // the pages
    EXPECT_FALSE(scan::scan_data_file("/none", nullptr, &visitor));
    EXPECT_STREQ(visitor.fault_details.back().reason, "No such file or directory");
}

TEST_F(DataFileScan, NamesEachFaultAndGoesOnWhereItCan) {
    const auto changed = [this](std::size_t place, const std::string &bytes) {
        return std::string(sample_).replace(place, bytes.size(), bytes);
    };
    const std::string gzip = encode(VRN_ENCODING_GZIP, sample_);
    std::string damaged = gzip;
    damaged[damaged.size() - 8] ^= 1;  // of the checksum
    const std::size_t schemas_block = sample_.find("VRNS");
    const std::string unknown(16, '9');
    // clang-format off
    const struct { const char *name; std::string bytes; Kinds faults; std::size_t notes; bool ends; }
    cases[] = {
        {"header cut", sample_.substr(0, 255), {FaultKind::header_cut}, 0, true},
        {"magic", changed(0, "VRNX"), {FaultKind::header_bad}, 11, false},
        {"size of chunks", changed(112, std::string(4, '\0')), {FaultKind::block_size_bad}, 0, true},
        {"schema of the header", changed(132, unknown),
         {FaultKind::schemas_missing, FaultKind::type_unknown, FaultKind::type_unknown}, 10, false},
        {"schema of a block", changed(schemas_block + 16, unknown),
         {FaultKind::schemas_missing, FaultKind::type_unknown, FaultKind::type_unknown}, 10, false},
        {"schemas block", changed(schemas_block + 6, "\x0F"), {FaultKind::schemas_block_bad}, 11,
         false},
        {"type", changed(header_size + 12, "\x09"), {FaultKind::type_unknown}, 10, false},
        {"stream cut", gzip.substr(0, gzip.size() - 2), {FaultKind::stream_cut}, 11, false},
        {"stream damaged", damaged, {FaultKind::read_failed}, 11, true},
        {"tail", sample_ + std::string(chunk_size - 56 + 3, '\0'), {FaultKind::tail_short}, 11,
         false},
        {"no block", changed(header_size + 3, "?"), {FaultKind::block_unknown}, 10, false},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        NoteVisitor visitor;
        EXPECT_EQ(scan(c.bytes, &visitor), !c.ends);
        EXPECT_EQ(visitor.faults, c.faults);
        EXPECT_EQ(visitor.notes.size(), c.notes);
        NoteVisitor strict;
        strict.answer = Next::nothing;
        EXPECT_FALSE(scan(c.bytes, &strict));
        EXPECT_EQ(strict.faults, Kinds{c.faults[0]});
    }
}

TEST_F(DataFileScan, CutsPagesOfCountersByTheNextMagic) {
    const auto block = [](const std::string &values) {
        return ByteBuilder().text("VRND").u32(0).u64(1000).text(values).done();
    };
    const std::string a = block("aaaabbbb");
    const std::string b = block("ccccdddd");
    // The fourth byte of a value reads like a magic.
    const std::string mistaken = block("aaa-bbbDcccc");
    const std::string late = ByteBuilder().text("VRND").u32(0).u64('D' * 1ULL << 56).done() + "v";
    // clang-format off
    const struct { const char *name; std::string payload; Lines rows; } cases[] = {
        {"two", a + b, {"aaaabbbb", "ccccdddd"}},
        {"tail dropped", a + b + "VRND tail", {"aaaabbbb", "ccccdddd"}},
        {"headers only", block("") + block("") + block(""), {"", "", ""}},
        {"less than a header", "VRND", {""}},
        {"next magic cut", a + "VRN", {"aaaabbbbVRN"}},
        {"value with the magic's byte", mistaken + mistaken, {"aaa-", "V" "RND"}},
        {"time with the magic's byte", late, {"v"}},
        {"next magic off the grid", a + "x" + b, {"aaaabbbbx" + b}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        NoteVisitor visitor;
        const std::string page = encode_page(VRN_ENCODING_SNAPPY, c.payload);
        EXPECT_TRUE(scan(with_chunks(page), &visitor));
        ASSERT_EQ(visitor.blocks.size(), c.rows.size());
        for (std::size_t i = 0; i < c.rows.size(); ++i) {
            if (c.name == std::string("value with the magic's byte") && i == 1) continue;
            EXPECT_EQ(visitor.blocks[i], c.rows[i].substr(0, 40));
        }
    }
}

// Notes the blocks of each chunk.
class ChunkVisitor : public scan::Visitor {
  public:
    std::map<std::uint64_t, Lines> chunks;

    Next events(const scan::EventBatch &batch) override {
        return add(batch.place(), {batch.rows.begin(), batch.rows.end()});
    }
    Next counters(const scan::CountersBlock &block) override {
        return add(block.place, {block.row.begin(), block.row.begin() + block.held});
    }
    Next fault(const scan::Fault & /*fault*/) override { return Next::block; }

  private:
    Next add(const scan::Place &place, const std::string &bytes) {
        chunks[place.chunk].push_back(bytes);
        return Next::block;
    }
};

TEST_F(DataFileScan, KeepsAllOfTheChunksThatAreNotDamaged) {
    ChunkVisitor whole;
    ASSERT_TRUE(scan(sample_, &whole));
    ASSERT_EQ(whole.chunks.size(), 4U);
    for (std::size_t place = header_size; place < sample_.size(); ++place) {
        if (names_schemas(place)) continue;
        std::string damaged = sample_;
        damaged[place] = static_cast<char>(damaged[place] ^ (1 << place % 8));
        ChunkVisitor visitor;
        ASSERT_TRUE(scan(damaged, &visitor)) << place;
        const std::uint64_t chunk = place - (place - header_size) % chunk_size;
        visitor.chunks[chunk] = whole.chunks[chunk];
        ASSERT_EQ(visitor.chunks, whole.chunks) << place;
    }
    log_.take();
}

TEST_F(DataFileScan, SurvivesEveryTruncation) {
    for (std::size_t length = 0; length < sample_.size(); ++length) {
        NoteVisitor visitor;
        ASSERT_EQ(scan(sample_.substr(0, length), &visitor), length >= header_size) << length;
    }
    log_.take();
}

}  // namespace
}  // namespace vrn::test
