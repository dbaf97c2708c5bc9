#include "reader/compressed_page_walk.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "data/data_writer.h"
#include "reader/block_walk.h"
#include "reader/driver_double.h"
#include "support/captured_log.h"
#include "support/page_blocks.h"
#include "support/temp_dir.h"

namespace vrn::test {
namespace {

using Lines = std::vector<std::string>;

const Lines none = {};
const std::string zeros(VRN_READER_SLACK, '\0');

struct Walk {
    bool good;
    Lines blocks;
    Lines lines;
};

// The chunk lies on the heap with nothing behind it, so that ASan sees any byte beyond.
Walk walk(const std::string &chunk, vrn_output_format_t format = VRN_FORMAT_JSON,
          vrn_data_writer_t *writer = nullptr) {
    vrn_reader_options_t options{};
    options.format = format;
    vrn_reader_t reader{};
    reader.options = &options;
    reader.file_name = "a.bin";
    reader.data_writer = writer;
    const std::vector<char> bytes(chunk.begin(), chunk.end());
    CapturedLog log;
    Walk result = {vrn_reader_walk_compressed_pages(&reader, bytes.data(), bytes.size()), {}, {}};
    result.lines = log.take();
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

const std::string corrupt_page = page_around('S', "\x05?");
const Lines corrupt_lines = {"3 [encoded_data] snappy decompression failed"};

TEST(CompressedPageWalk, HandsEveryPayloadOver) {
    const std::string big = "VRNE" + std::string(100000, 'e');
    for (const std::string &end : {std::string(), std::string(1, '\0'), std::string(500, '\0')}) {
        const Walk result =
            walk(gzip_page("VRNE one") + snappy_page("VRNX two") + gzip_page(big) + end);
        EXPECT_TRUE(result.good);
        EXPECT_EQ(result.blocks, (Lines{"VRNE one", "VRNX two", big}));
        EXPECT_EQ(result.lines, none);
    }
}

TEST(CompressedPageWalk, CutsCountersIntoUnits) {
    const std::string a = counters_block("aaaabbbb");
    const std::string b = counters_block("ccccdddd");
    const std::string empty = counters_block("");
    // The fourth byte of a value reads like a magic.
    const std::string mistaken = counters_block("aaa-bbbDcccc");
    const struct {
        const char *name;
        std::string payload;
        Lines blocks;
    } cases[] = {
        {"two blocks", a + b, {a, b}},
        {"tail dropped", a + b + "VRND tail", {a, b}},
        {"one block", a, {a}},
        {"headers only", empty + empty + empty, {empty, empty, empty}},
        {"one header", empty, {empty}},
        {"less than a header", "VRND", {"VRND"}},
        {"next magic cut", a + "VRN", {a + "VRN"}},
        {"value with the magic's byte",
         mistaken + mistaken,
         {mistaken.substr(0, 20), (mistaken + mistaken).substr(20, 20)}},
        {"next magic off the grid", a + "x" + b, {a + "x" + b}},
        {"no counters", "VRNE" + a + b, {"VRNE" + a + b}},
        {"two bytes", "VR", {"VR"}},
        {"nothing", "", {}},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        const Walk result = walk(snappy_page(test.payload));
        EXPECT_TRUE(result.good);
        EXPECT_EQ(result.blocks, test.blocks);
        EXPECT_EQ(result.lines, none);
    }
}

TEST(CompressedPageWalk, EndsSilentlyWhereNoWholePageStands) {
    const std::string page = gzip_page("VRNE one");
    std::string bad_end = page;
    bad_end.back() = 'P';
    std::string too_long = page;
    too_long[9] = '\x7F';  // data_size of 2 GiB
    for (const std::string &rest :
         {bad_end, too_long, std::string("VRNP"), std::string("VR"), std::string("VRNE") + page,
          std::string("VRNP\0\0\0\0\0\0", 10), std::string("\0\0\0P", 4)}) {
        SCOPED_TRACE(rest);
        const Walk result = walk(page + rest);
        EXPECT_TRUE(result.good);
        EXPECT_EQ(result.blocks, Lines{"VRNE one"});
        EXPECT_EQ(result.lines, none);
    }
    EXPECT_TRUE(walk(bad_end + page).good);
    EXPECT_TRUE(walk("").good);
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

TEST(CompressedPageWalk, FailsOverAPageThatNoPaddingFollows) {
    const std::string page = gzip_page("VRNE one");
    std::string cut_page = page;
    cut_page.pop_back();
    const std::string unknown = page_around(0, "stream");
    const struct {
        const char *name;
        std::string chunk;
        bool good;
        Lines blocks;
        Lines lines;
    } cases[] = {
        {"at the end", page + corrupt_page, false, {"VRNE one"}, corrupt_lines},
        {"before a page", corrupt_page + page, false, {}, corrupt_lines},
        {"before a cut page", corrupt_page + cut_page, false, {}, corrupt_lines},
        {"before padding", corrupt_page + std::string(9, '\0'), true, {}, corrupt_lines},
        {"before one byte", corrupt_page + "V", true, {}, corrupt_lines},
        {"before events", corrupt_page + "VRNE", true, {}, corrupt_lines},
        {"unknown encoding", unknown, false, {}, none},
        {"unknown encoding before padding", unknown + "....", true, {}, none},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        const Walk result = walk(test.chunk);
        EXPECT_EQ(result.good, test.good);
        EXPECT_EQ(result.blocks, test.blocks);
        EXPECT_EQ(result.lines, test.lines);
    }
}

TEST(CompressedPageWalk, StopsAtTheFirstRefusedBlock) {
    refuse_blocks_with("bad");
    const std::string good = counters_block("fine");
    const std::string bad = counters_block("bad.");
    const std::string page = gzip_page(good + bad + good);
    const Walk at_end = walk(page);
    EXPECT_FALSE(at_end.good);
    EXPECT_EQ(at_end.blocks, (Lines{good, bad}));
    const Walk before_page = walk(page + gzip_page(good));
    EXPECT_FALSE(before_page.good);
    EXPECT_EQ(before_page.blocks, (Lines{good, bad}));
    const Walk before_padding = walk(page + "....");
    EXPECT_TRUE(before_padding.good);
    EXPECT_EQ(before_padding.blocks, (Lines{good, bad}));
    refuse_blocks_with("");
}

TEST(CompressedPageWalk, TakesFalseSizesForTheirDecodersFailure) {
    const std::string gzip = encode(VRN_ENCODING_GZIP, "VRNE one");
    const auto with_size = [&](std::uint32_t size) {
        return page_around('G', gzip.substr(0, gzip.size() - 4) + ByteBuilder().u32(size).done());
    };
    const Lines error = {"3 [encoded_data] zlib error while decompressing"};
    const Lines failed = {"3 [encoded_data] zlib decompression failed"};
    const std::string not_gzip = "3 [encoded_data] Error: stream is not gzip compressed data";
    const struct {
        const char *name;
        std::string page;
        Lines lines;
    } cases[] = {
        {"0", with_size(0), failed},
        {"1", with_size(1), failed},
        {"one less", with_size(7), failed},
        {"one more", with_size(9), error},
        {"all ones", with_size(4294967295), error},
        {"no stream", page_around('G', ""), {not_gzip, not_gzip, error[0]}},
        {"first member longer", page_around('G', gzip + encode(VRN_ENCODING_GZIP, "2")), failed},
        {"snappy: all ones", page_around('S', "\xFF\xFF\xFF\xFF\x0F"), corrupt_lines},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        const Walk result = walk(test.page);
        EXPECT_FALSE(result.good);
        EXPECT_EQ(result.blocks, none);
        EXPECT_EQ(result.lines, test.lines);
    }
}

// What a short first member leaves of the claimed size was never written, so no block sees it.
TEST(CompressedPageWalk, HandsOverTheFirstGzipMemberOnly) {
    const Walk result = walk(page_around(
        'G', encode(VRN_ENCODING_GZIP, "VRNE") + encode(VRN_ENCODING_GZIP, "much longer")));
    EXPECT_TRUE(result.good);
    EXPECT_EQ(result.blocks, Lines{"VRNE"});
    EXPECT_EQ(result.lines, none);
}

TEST(CompressedPageWalk, TakesManyPagesWithoutPayload) {
    std::string chunk;
    for (int i = 0; i < 10000; ++i) chunk += snappy_page("");
    const Walk result = walk(chunk);
    EXPECT_TRUE(result.good);
    EXPECT_EQ(result.blocks, none);
    EXPECT_EQ(result.lines, none);
}

TEST(CompressedPageWalk, ExportsPagesUndecoded) {
    const TempDir dir;
    const vrn_client_id_t client = {"host1", 0};
    vrn_data_writer_ptr writer(vrn_data_writer_create(&client));
    vrn_data_writer_set_data_dir(writer.get(), dir.path().c_str());
    vrn_data_writer_set_data_path_template(writer.get(), "out.bin");
    const Walk result = walk(gzip_page("VRNE one") + snappy_page("VRNE two") + "padding",
                             VRN_FORMAT_BIN, writer.get());
    EXPECT_TRUE(result.good);
    EXPECT_EQ(result.blocks, none);
    const std::string warning =
        "4 [data_writer] First data block is VRNE. No schema ids could be extracted.";
    EXPECT_EQ(result.lines, (Lines{warning, warning}));
    writer.reset();
    EXPECT_EQ(read_file(dir.file("out.bin")).substr(256), "VRNE oneVRNE two");
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
