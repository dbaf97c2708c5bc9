#include "data/compressed_page.h"

#include "support/page_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

// The header of a page with these texts, or nothing.
std::string copy_header(const vrn_source_t &source, std::size_t stream_size,
                        std::size_t buffer_size) {
    vrn_data_page_t page{};
    page.source = source;
    page.first_ts = 1000;
    page.last_ts = 2000;
    std::vector<char> buffer(buffer_size, '?');
    const std::size_t size = vrn_copy_vrnp_header_into_buffer(&page, VRN_ENCODING_GZIP, stream_size,
                                                              buffer.data(), buffer_size);
    return {buffer.data(), size};
}

TEST(CompressedPageHeader, HoldsTheFieldsOfThePage) {
    const std::string full_source(64, 's');
    const std::string full_tag(16, 't');
    const std::pair<vrn_source_t, HeaderFields> cases[] = {
        {make_source("abc", "x"), {.header_size = 28, .data_size = 77}},
        {make_source("", ""), {24, 'G', 77, 0, "", 0, ""}},
        {make_source(full_source, full_tag), {104, 'G', 77, 64, full_source, 16, full_tag}},
    };
    for (const auto &[source, expected] : cases) {
        SCOPED_TRACE(expected.source);
        const std::size_t size = expected.header_size;
        CapturedLog log;
        EXPECT_EQ(copy_header(source, 77, size), header_bytes(expected));
        EXPECT_EQ(log.take(), Lines{});
        EXPECT_EQ(copy_header(source, 77, size - 1), "");
        EXPECT_EQ(log.take(), Lines{"3 [vrn_copy_vrnp_header_into_buffer] buffer of " +
                                    std::to_string(size - 1) +
                                    " bytes is too small to accommodate VRNP header of " +
                                    std::to_string(size) + " bytes"});
    }
    CapturedLog log;
    EXPECT_EQ(copy_header(make_source("abc", "x"), 4294967296 + 5, 28),
              header_bytes({.data_size = 5}));
    EXPECT_EQ(log.take(), Lines{"3 [vrn_copy_vrnp_header_into_buffer] encoded stream size of "
                                "4294967301 bytes is too large"});
}

TEST(CompressedPageHeader, IsEmbeddedUnderOtherTexts) {
    const std::string header = header_bytes({.encoding = 'S', .data_size = 9});
    const vrn_source_t source = make_source("other", "");
    char buffer[29];
    CapturedLog log;
    EXPECT_EQ(vrn_embed_vrnp_header_into_buffer(header.data(), &source, buffer, 29), 29U);
    EXPECT_EQ(std::string(buffer, 29), header_bytes({29, 'S', 9, 5, "other", 0, ""}));
    EXPECT_EQ(vrn_embed_vrnp_header_into_buffer(header.data(), &source, buffer, 28), 0U);
    EXPECT_EQ(log.take(),
              Lines{"3 [vrn_embed_vrnp_header_into_buffer] buffer of 28 bytes is too small to "
                    "accommodate VRNP header of 29 bytes"});
}

TEST(CompressedPageHeader, ReadsTextsWithinItsSizeOnly) {
    // clang-format off
    const struct {
        const char *name; HeaderFields fields;
        std::string source, tag;  // the fields hold "######" before
    } cases[] = {
        {"whole", {}, "abc###", "x#####"},
        {"a NUL in a text pads it", {.source = std::string("a\0c", 3)},
         std::string("a\0\0###", 6), "x#####"},
        {"source past the header", {.source_length = 255}, "abc\x01x#", "######"},
        {"tag past the header", {.tag_length = 200}, "abc###", "x#####"},
        {"no tag length", {.header_size = 26}, "abc###", "######"},
        {"source cut", {.header_size = 24}, "a#####", "######"},
        {"no header", {.header_size = 0}, "######", "######"},
    };
    // clang-format on
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        const std::string bytes = header_bytes(test.fields);
        const std::size_t readable =
            std::max<std::size_t>(test.fields.header_size, VRN_COMPRESSED_PAGE_LEAD_SIZE);
        const std::vector<char> header(bytes.begin(), bytes.begin() + readable);
        vrn_source_t source = make_source("######", "######");
        vrn_pascal_strings_to_source(header.data(), &source);
        EXPECT_EQ(std::string(source.source, 6), test.source);
        EXPECT_EQ(std::string(source.tag, 6), test.tag);

        const vrn_compressed_page_header_t fixed = vrn_compressed_page_header_load(header.data());
        EXPECT_EQ(std::uint64_t{fixed.first_timestamp}, readable >= 14 ? 1000U : 0U);
        EXPECT_EQ(std::uint64_t{fixed.last_timestamp}, readable >= 22 ? 2000U : 0U);
    }
}

TEST(PascalStrings, AreCutToTheirLimits) {
    EXPECT_EQ(vrn_pascal_strings_size(std::string(100, 'a').c_str(), "bc"), 126U);
    char buffer[300];
    CapturedLog log;
    EXPECT_EQ(vrn_copy_as_pascal_string_info_buffer("abcdef", 4, buffer, 10), 5U);
    EXPECT_EQ(std::string(buffer, 5), "\4abcd");
    EXPECT_EQ(vrn_copy_as_pascal_string_info_buffer(std::string(290, 'a').c_str(), 290, buffer,
                                                    sizeof buffer),
              256U);
    // A text of exactly the given size passes, though its length byte comes on top.
    EXPECT_EQ(vrn_copy_as_pascal_string_info_buffer("abc", 64, buffer, 3), 4U);
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_EQ(vrn_copy_as_pascal_string_info_buffer("abcd", 64, buffer, 3), 0U);
    EXPECT_EQ(log.take(), Lines{"3 [vrn_copy_as_pascal_string_info_buffer] buffer of 3 bytes is "
                                "too small to accommodate string of 4 bytes"});
}

TEST(CompressedPage, DecodesIntoABufferOfItsSizeOnly) {
    for (const auto encoding : {VRN_ENCODING_GZIP, VRN_ENCODING_SNAPPY}) {
        const std::string block = encode_page(encoding, "payload");
        EXPECT_EQ(block, page_around(encoding, encode(encoding, "payload")));
        const char *header = block.data() + VRN_MAGIC_SIZE;
        char buffer[8] = "???????";
        CapturedLog log;
        EXPECT_TRUE(vrn_compressed_page_decode(header, buffer, 7));
        EXPECT_STREQ(buffer, "payload");
        EXPECT_FALSE(vrn_compressed_page_decode(header, buffer, 8));
        EXPECT_EQ(log.take(), Lines{"3 invalid buffer size to uncompress vrnp data"});
    }
}

TEST(CompressedPage, NeedsNoMoreRoomThanItsStreamCanFill) {
    const std::string zeros(3000000, '\0');
    const std::string gzip = encode(VRN_ENCODING_GZIP, zeros);
    const std::string snappy = encode(VRN_ENCODING_SNAPPY, zeros);
    // A literal of one byte, then copies of 64.
    const std::string dense = "\x81\x01" + std::string("\0x\xFE\1\0\xFE\1\0", 8);
    // clang-format off
    const struct {
        const char *name; std::uint8_t encoding; std::string stream; std::uint64_t room;
    } cases[] = {
        {"dense gzip", 'G', gzip, zeros.size()},
        {"snappy", 'S', snappy, zeros.size()},
        {"dense snappy", 'S', dense, 129},
        {"gzip: false claim", 'G', "\x1F\x8B\xFF\xFF\xFF\xFF", 6 * 1032},
        {"snappy: false claim", 'S', "\xFF\xFF\xFF\xFF\x0F", 5 * 64 / 3},
        {"unknown", 'X', gzip, 0},
    };
    // clang-format on
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        const std::string block = page_around(test.encoding, test.stream);
        const char *header = block.data() + VRN_MAGIC_SIZE;
        EXPECT_EQ(vrn_compressed_page_decoded_room(header), test.room);
        std::vector<char> buffer(test.room);
        std::size_t size = 0;
        const bool is_honest = test.room == vrn_compressed_page_uncompressed_size(header);
        CapturedLog log;
        EXPECT_EQ(vrn_compressed_page_decode_prefix(header, buffer.data(), buffer.size(), &size),
                  is_honest && test.encoding != 'X');
        EXPECT_EQ(size, is_honest ? test.room : 0);
    }
}

TEST(CompressedPage, DecodesIntoANewBlock) {
    const std::string member = encode(VRN_ENCODING_GZIP, "ab");
    const std::string false_claim = "\xFF\xFF\xFF\xFF";
    const std::string false_member = member + false_claim;
    const std::string rest(false_member.size() * 1032 - 2, '\0');
    const std::string false_size = member.substr(0, member.size() - 4) + false_claim;
    const std::string cut_member = member.substr(0, 12) + false_claim;
    const std::string not_gzip = "3 [encoded_data] Error: stream is not gzip compressed data";
    // clang-format off
    const struct {
        const char *name; std::string block; std::string payload; std::uint64_t size; Lines lines;
    } cases[] = {
        {"gzip", encode_page(VRN_ENCODING_GZIP, "payload"), "payload", 7, {}},
        {"snappy", encode_page(VRN_ENCODING_SNAPPY, "payload"), "payload", 7, {}},
        {"empty", encode_page(VRN_ENCODING_GZIP, ""), "", 0, {}},
        {"first member shorter than claimed",
         page_around('G', encode(VRN_ENCODING_GZIP, "ab") + encode(VRN_ENCODING_GZIP, "cde")),
         std::string("ab\0", 3), 3, {}},
        {"first member before an impossible claim", page_around('G', false_member), "ab" + rest,
         2 + rest.size(), {}},
        {"member with an impossible claim", page_around('G', false_size), "null", 4294967295,
         {"3 [encoded_data] zlib error while decompressing"}},
        {"cut member with an impossible claim", page_around('G', cut_member), "null", 4294967295,
         {"3 [encoded_data] zlib decompression failed"}},
        {"no gzip", page_around('G', "nothing"), "null", 0,
         {not_gzip, not_gzip, "3 [encoded_data] zlib error while decompressing"}},
        {"unknown encoding", page_around(0, "nothing"), "null", 0, {}},
        {"4 GiB claimed by 5 bytes", page_around('S', "\xFF\xFF\xFF\xFF\x0F"), "null", 4294967295,
         {"3 [encoded_data] snappy decompression failed"}},
    };
    // clang-format on
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        CapturedLog log;
        std::uint64_t size = 99;
        const CPtr<char, std::free> decoded(static_cast<char *>(
            vrn_compressed_page_decode_alloc(test.block.data() + VRN_MAGIC_SIZE, &size)));
        EXPECT_EQ(decoded ? std::string(decoded.get(), size) : "null", test.payload);
        EXPECT_EQ(size, test.size);
        EXPECT_EQ(log.take(), test.lines);
    }
    CapturedLog log;
    EXPECT_EQ(vrn_compressed_page_decode_alloc(cases[0].block.data() + VRN_MAGIC_SIZE, nullptr),
              nullptr);
    EXPECT_EQ(log.take(), Lines{"3 'uncompressed_size' must be allocated"});
}

}  // namespace
}  // namespace vrn::test
