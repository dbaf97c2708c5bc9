#include "reader/compressed_page_walk.h"

#include <cstdlib>

#include "reader/block_walk.h"
#include "reader/driver_double.h"
#include "support/page_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

const Lines none = {};
const std::string zeros(VRN_READER_SLACK, '\0');

struct Walk {
    bool good;
    Lines blocks;
    Lines lines;
};

// The chunk lies on the heap with nothing behind it, so that ASan sees any byte beyond.
Walk walk(const std::string &chunk) {
    vrn_reader_options_t options{};
    options.format = VRN_FORMAT_JSON;
    vrn_reader_t reader{};
    reader.options = &options;
    reader.file_name = "a.bin";
    const std::vector<char> bytes(chunk.begin(), chunk.end());
    CapturedLog log;
    Walk result = {vrn_reader_walk_compressed_pages(&reader, bytes.data(), bytes.size()), {}, {}};
    result.lines = log.take();
    std::free(reader.page.bytes);
    EXPECT_EQ(reader.window_end, nullptr);
    for (const HandedBlock &block : take_handed_blocks()) {
        EXPECT_TRUE(block.in_compressed);
        EXPECT_TRUE(block.behind.ends_with(zeros));
        result.blocks.push_back(block.bytes);
    }
    return result;
}

std::string gzip_page(const std::string &payload) {
    return encode_page(VRN_ENCODING_GZIP, payload);
}

std::string snappy_page(const std::string &payload) {
    return encode_page(VRN_ENCODING_SNAPPY, payload);
}

std::string counters_block(const std::string &values) {
    return ByteBuilder().text("VRND").u32(0).u64(1000).text(values).done();
}

TEST(CompressedPageWalk, HandsPayloadsOverUpToAFailureOrToWhatIsNoWholePage) {
    const std::string page = gzip_page("VRNE one");
    const std::string big = "VRNE" + std::string(100000, 'e');
    const std::string pages = page + snappy_page("VRNX two") + gzip_page(big);
    std::string bad_end = page;
    bad_end.back() = 'P';
    std::string too_long = page;
    too_long[9] = '\x7F';  // data_size of 2 GiB
    std::string many;
    for (int i = 0; i < 10000; ++i) many += snappy_page("");
    const std::string members =
        encode(VRN_ENCODING_GZIP, "VRNE") + encode(VRN_ENCODING_GZIP, "much longer");
    const std::string corrupt = page_around('S', "\x05?");
    const Lines failed = {"3 [encoded_data] snappy decompression failed"};
    const Lines one = {"VRNE one"};
    const std::string a = counters_block("aaaabbbb");
    const std::string b = counters_block("ccccdddd");
    const std::string empty = counters_block("");
    // The fourth byte of a value reads like a magic.
    const std::string mistaken = counters_block("aaa-bbbDcccc");
    const std::string late = ByteBuilder().text("VRND").u32(0).u64('D' * 1ULL << 56).done() + "v";
    // clang-format off
    const struct {
        const char *name; std::string chunk; Lines blocks; bool good = true; Lines lines = {};
    } cases[] = {
        {"no bytes", "", {}},
        {"pages", pages, {"VRNE one", "VRNX two", big}},
        {"a byte of padding", pages + std::string(1, '\0'), {"VRNE one", "VRNX two", big}},
        {"padding", pages + std::string(500, '\0'), {"VRNE one", "VRNX two", big}},
        {"no payloads", many, {}},
        // The claimed size was never written, so no block sees it.
        {"first gzip member only", page_around('G', members), {"VRNE"}},
        {"bad end", page + bad_end + page, one}, {"too long", page + too_long, one},
        {"magic only", page + "VRNP", one}, {"half a magic", page + "VR", one},
        {"events", page + "VRNE" + page, one},
        {"P in padding", page + std::string("\0\0\0P", 4), one},
        {"zeros behind magic", page + std::string("VRNP\0\0\0\0\0\0", 10), one},
        {"failure at the end", page + corrupt, one, false, failed},
        {"failure before a page", corrupt + page, {}, false, failed},
        {"failure before a cut page", corrupt + bad_end, {}, false, failed},
        {"failure before padding", corrupt + std::string(9, '\0'), {}, true, failed},
        {"failure before events", corrupt + "VRNE", {}, true, failed},
        {"unknown encoding", page_around(0, "stream"), {}, false, {}},
        {"two counters blocks", snappy_page(a + b), {a, b}},
        {"tail dropped", snappy_page(a + b + "VRND tail"), {a, b}},
        {"headers only", snappy_page(empty + empty + empty), {empty, empty, empty}},
        {"less than a header", snappy_page("VRND"), {"VRND"}},
        {"next magic cut", snappy_page(a + "VRN"), {a + "VRN"}},
        {"value with the magic's byte", snappy_page(mistaken + mistaken),
         {mistaken.substr(0, 20), (mistaken + mistaken).substr(20, 20)}},
        {"time with the magic's byte", snappy_page(late), {late}},
        {"next magic off the grid", snappy_page(a + "x" + b), {a + "x" + b}},
        {"no counters", snappy_page("VRNE" + a + b), {"VRNE" + a + b}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const Walk result = walk(c.chunk);
        EXPECT_EQ(result.good, c.good);
        EXPECT_EQ(result.blocks, c.blocks);
        EXPECT_EQ(result.lines, c.lines);
    }
}

TEST(CompressedPageWalk, StopsAtTheFirstRefusedBlock) {
    refuse_blocks_with("bad");
    const std::string good = counters_block("fine");
    const std::string bad = counters_block("bad.");
    const std::string page = gzip_page(good + bad + good);
    for (const std::string &behind : {std::string(), gzip_page(good), std::string("....")}) {
        const Walk result = walk(page + behind);
        EXPECT_EQ(result.good, behind == "....");
        EXPECT_EQ(result.blocks, (Lines{good, bad}));
    }
    refuse_blocks_with("");
}

TEST(CompressedPageWalk, LeavesOutAPageThatTheChunkCuts) {
    const std::string first = gzip_page("VRNE one");
    const std::string second = snappy_page("VRNE two");
    for (std::size_t length = 0; length < second.size(); ++length) {
        const Walk result = walk(first + second.substr(0, length));
        ASSERT_TRUE(result.good) << length;
        ASSERT_EQ(result.blocks, Lines{"VRNE one"}) << length;
        ASSERT_EQ(result.lines, none) << length;
    }
}

TEST(CompressedPageWalk, SurvivesEveryHeaderSize) {
    const std::string page = snappy_page("VRNE");
    for (int size = 0; size < 256; ++size) {
        std::string chunk = page + std::string(300, '\0');
        chunk[4] = static_cast<char>(size);
        // Bytes 6 to 9 hold the size of the stream unless the header is shorter.
        const std::size_t stream_size = page.size() - 36;
        chunk.replace(4 + static_cast<std::size_t>(size) + stream_size, 4, "vrnp");
        const Walk result = walk(chunk);
        ASSERT_EQ(result.blocks, size == 28 ? Lines{"VRNE"} : none) << size;
    }
}

TEST(CompressedPageWalk, SurvivesEveryFlippedByte) {
    for (const std::string &page : {gzip_page(counters_block("aaaabbbb") + counters_block("c")),
                                    snappy_page("VRNE and some text, and some text")}) {
        for (std::size_t place = 0; place < page.size(); ++place) {
            for (const char flip : {'\x01', '\x40', '\xFF'}) {
                std::string bad = page;
                bad[place] = static_cast<char>(bad[place] ^ flip);
                const Walk result = walk(bad + page);
                // A page that is no page ends the chunk; a failed one says so.
                ASSERT_TRUE(result.good || result.blocks.empty()) << place;
            }
        }
    }
}

}  // namespace
}  // namespace vrn::test
