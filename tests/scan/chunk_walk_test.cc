#include "scan/chunk_walk.h"

#include "scan/note_visitor.h"
#include "support/page_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using scan::FaultKind;
using scan::Next;

using Kinds = std::vector<FaultKind>;

const std::string zeros(scan::slack_size, '\0');

// Has no schemas: CNTX blocks are all it takes from pages. The chunk lies on the heap with nothing
// but slack after it, so that ASan sees any byte beyond.
bool walk(const std::string &chunk, NoteVisitor *visitor) {
    const std::string bytes = chunk + zeros;
    const std::vector<std::uint8_t> buffer(bytes.begin(), bytes.end());
    scan::SchemasInUse schemas(nullptr, visitor);
    scan::PageBuffer page;
    const Bytes all(buffer.data(), chunk.size());
    const bool done = scan::ChunkWalk(&schemas, &page, visitor).walk({all, all, 256});
    for (const std::string &slack : visitor->slack) EXPECT_EQ(slack, zeros);
    return done;
}

std::string gzip_page(const std::string &payload) {
    return encode_page(VRN_ENCODING_GZIP, payload);
}

std::string snappy_page(const std::string &payload) {
    return encode_page(VRN_ENCODING_SNAPPY, payload);
}

TEST(ChunkWalk, HandsPayloadsOverAndGoesOnAfterFaults) {
    const std::string page = gzip_page("VRNX one");
    const std::string big = "VRNX" + std::string(100000, 'e');
    const std::string pages = page + snappy_page("VRNX two") + gzip_page(big);
    std::string bad_end = page;
    bad_end.back() = 'P';
    std::string bad_magic = page;
    bad_magic[3] = 'Q';
    std::string too_long = page;
    too_long[9] = '\x7F';  // data_size of 2 GiB
    std::string many;
    for (int i = 0; i < 10000; ++i) many += snappy_page("");
    const std::string members =
        encode(VRN_ENCODING_GZIP, "VRNX") + encode(VRN_ENCODING_GZIP, "much longer");
    const std::string corrupt = page_around('S', "\x05?");
    const Lines log_of_corrupt = {"3 [encoded_data] snappy decompression failed"};
    const Lines one = {"VRNX one"};
    const Lines twice = {"VRNX one", "VRNX one"};
    // clang-format off
    const struct {
        const char *name; std::string chunk; Lines blocks; Kinds faults = {}; Lines lines = {};
    } cases[] = {
        {"pages", pages, {"VRNX one", "VRNX two", big}},
        {"a byte of padding", pages + std::string(1, '\0'), {"VRNX one", "VRNX two", big}},
        {"padding", pages + std::string(500, '\0'), {"VRNX one", "VRNX two", big}},
        {"no payloads", many, {}},
        // The claimed size was never written, so no block sees it.
        {"first gzip member only", page_around('G', members), {"VRNX"}},
        {"bad end", page + bad_end + page, twice, {FaultKind::page_cut}},
        {"bad magic", page + bad_magic + page, twice, {FaultKind::not_a_block}},
        {"bad magic first", bad_magic + page, one, {FaultKind::block_unknown}},
        {"too long", page + too_long + page, twice, {FaultKind::page_cut}},
        {"cut", page + page.substr(0, 20), one, {FaultKind::page_cut}},
        {"half a magic", page + "VR", one, {FaultKind::not_a_block}},
        {"events", page + "VRNE" + page, twice, {FaultKind::not_a_block}},
        {"P in padding", page + std::string("\0\0\0P", 4), one, {FaultKind::page_cut}},
        {"damaged", page + corrupt + page, twice, {FaultKind::page_damaged}, log_of_corrupt},
        {"unknown encoding", page_around(0, "stream"), {}, {FaultKind::page_damaged}},
        {"unknown block in a page", snappy_page("what") + page, one, {FaultKind::block_unknown}},
        {"page in a page", snappy_page(page) + page, one, {FaultKind::block_unknown}},
        {"blob", "VRNBlob", {"VRNBlob"}},
        {"metrics", "CNTX, a chunk", {"CNTX, a chunk"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        NoteVisitor visitor;
        EXPECT_TRUE(walk(c.chunk, &visitor));
        EXPECT_EQ(visitor.blocks, c.blocks);
        EXPECT_EQ(visitor.faults, c.faults);
        EXPECT_EQ(log.take(), c.lines);
        NoteVisitor strict;
        strict.answer = Next::nothing;
        EXPECT_EQ(walk(c.chunk, &strict), c.faults.empty());
        EXPECT_EQ(strict.faults, Kinds(c.faults.begin(), c.faults.begin() + !c.faults.empty()));
    }
}

TEST(ChunkWalk, TellsWhereFaultsLieAndWhatTheyCost) {
    const std::string page = gzip_page("VRNX one");
    std::string bad_end = page;
    bad_end.back() = 'P';
    NoteVisitor visitor;
    EXPECT_TRUE(walk(page + bad_end + snappy_page("what") + "rest", &visitor));
    ASSERT_EQ(visitor.faults,
              (Kinds{FaultKind::page_cut, FaultKind::block_unknown, FaultKind::not_a_block}));
    const scan::Fault &cut = visitor.fault_details[0];
    EXPECT_EQ(cut.place.chunk, 256U);
    EXPECT_EQ(cut.place.block, 256 + page.size());
    EXPECT_EQ(cut.lost, bad_end.size());
    EXPECT_STREQ(cut.reason, "A page's end is not where its header says");
    const scan::Fault &unknown = visitor.fault_details[1];
    EXPECT_TRUE(unknown.place.is_in_page);
    EXPECT_EQ(unknown.place.block, 256 + 2 * page.size());
    EXPECT_EQ(unknown.lost, 4U);
    EXPECT_EQ(visitor.fault_details[2].lost, 4U);
}

TEST(ChunkWalk, DoesWithPagesAsItIsTold) {
    const std::string page = snappy_page("VRNX one");
    const std::string corrupt = page_around('S', "\x05?");
    const struct {
        scan::PageUse use;
        bool done;
        Lines blocks;
        Kinds faults;
    } cases[] = {
        {scan::PageUse::payload, true, {"VRNX one", "VRNX one"}, {FaultKind::page_damaged}},
        {scan::PageUse::pass_over, true, {}, {}},
        {scan::PageUse::fail_file, false, {}, {}},
    };
    for (const auto &c : cases) {
        NoteVisitor visitor;
        visitor.page_use = c.use;
        EXPECT_EQ(walk(page + corrupt + page, &visitor), c.done);
        EXPECT_EQ(visitor.blocks, c.blocks);
        EXPECT_EQ(visitor.faults, c.faults);
    }
}

TEST(ChunkWalk, LeavesOutWhatTheAnswerToARefusedBlockSays) {
    const std::string good = snappy_page("VRNX good");
    const std::string chunk = good + snappy_page("VRNX bad") + good;
    const struct {
        Next answer;
        bool done;
        std::size_t blocks;
    } cases[] = {{Next::block, true, 3},
                 {Next::run, true, 3},
                 {Next::page, true, 3},
                 {Next::chunk, true, 2},
                 {Next::nothing, false, 2}};
    for (const auto &c : cases) {
        NoteVisitor visitor;
        visitor.answer = c.answer;
        visitor.refused = "bad";
        EXPECT_EQ(walk(chunk, &visitor), c.done);
        EXPECT_EQ(visitor.blocks.size(), c.blocks);
    }
}

TEST(ChunkWalk, SurvivesEveryHeaderSizeAndFlippedByte) {
    const std::string whole = snappy_page("VRNX");
    for (int size = 0; size < 256; ++size) {
        std::string chunk = whole + std::string(300, '\0');
        chunk[4] = static_cast<char>(size);
        // Bytes 6 to 9 hold the size of the stream unless the header is shorter.
        const std::size_t stream_size = whole.size() - 36;
        chunk.replace(4 + static_cast<std::size_t>(size) + stream_size, 4, "vrnp");
        NoteVisitor visitor;
        EXPECT_TRUE(walk(chunk, &visitor));
        ASSERT_EQ(visitor.blocks, size == 28 ? Lines{"VRNX"} : Lines()) << size;
    }
    const CapturedLog log(0);
    for (const std::string &page : {gzip_page("VRNX gz"), snappy_page("VRNX text, and text")}) {
        for (std::size_t place = 0; place < page.size(); ++place) {
            for (const char flip : {'\x01', '\x40', '\xFF'}) {
                std::string bad = page;
                bad[place] = static_cast<char>(bad[place] ^ flip);
                NoteVisitor visitor;
                EXPECT_TRUE(walk(bad + page, &visitor));
                // What stands after the damaged page is found again.
                ASSERT_FALSE(visitor.blocks.empty()) << place;
            }
        }
    }
}

}  // namespace
}  // namespace vrn::test
