#include "data/page_encoding.h"

#include "support/page_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

const Lines zlib_error = {"3 [encoded_data] zlib error while decompressing"};
const Lines zlib_failed = {"3 [encoded_data] zlib decompression failed"};
const Lines snappy_failed = {"3 [encoded_data] snappy decompression failed"};

// Long enough to compress, and without a repeat that hides a flipped bit.
std::string sample_payload() {
    std::string payload;
    for (int i = 0; i < 300; ++i) payload += "row " + std::to_string(i * 7919) + ";";
    return payload;
}

std::string with_trailer(std::string stream, std::uint32_t size) {
    stream.resize(stream.size() - 4);
    return stream + ByteBuilder().u32(size).done();
}

// Exactly `size` bytes on the heap, so that a byte beyond them is a fault under ASan.
bool decode(vrn_page_encoding_t encoding, const std::string &stream, std::size_t size,
            std::string *out) {
    const std::vector<char> input(stream.begin(), stream.end());
    std::vector<char> buffer(size, '?');
    const bool good =
        vrn_encoded_data_decode(encoding, input.data(), input.size(), buffer.data(), size);
    out->assign(buffer.begin(), buffer.end());
    return good;
}

TEST(PageEncoding, TellsTheClaimedSize) {
    const std::string not_gzip = "3 [encoded_data] Error: stream is not gzip compressed data";
    const std::string too_small = "3 [encoded_data] Error: Compressed data is too small";
    // clang-format off
    const struct {
        const char *name; std::uint8_t encoding; std::string stream; std::uint64_t size;
        Lines lines;
    } cases[] = {
        {"gzip: empty", 'G', "", 0, {not_gzip}},
        {"gzip: other start", 'G', "\x1F\x8C\x08\x08\x08", 0, {not_gzip}},
        {"gzip: three bytes", 'G', "\x1F\x8B\x08", 0, {too_small}},
        {"gzip: four bytes are their own trailer", 'G', "\x1F\x8B\x08\x01", 0x01088B1F, {}},
        {"gzip: all ones", 'G', "\x1F\x8B\xFF\xFF\xFF\xFF", 4294967295, {}},
        {"snappy: empty", 'S', "", 0, {}},
        {"snappy: preamble only", 'S', "\xFF\xFF\xFF\xFF\x0F", 4294967295, {}},
        {"snappy: preamble above 32 bits", 'S', "\xFF\xFF\xFF\xFF\x1F", 0, {}},
        {"unknown", 'X', "\x1F\x8B\xFF\xFF\xFF\xFF", 0, {}},
    };
    // clang-format on
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        CapturedLog log;
        EXPECT_EQ(vrn_encoded_data_uncompressed_size(vrn_page_encoding_t{test.encoding},
                                                     test.stream.data(), test.stream.size()),
                  test.size);
        EXPECT_EQ(log.take(), test.lines);
    }
}

TEST(PageEncoding, RefusesStreamsThatDoNotFitTheirBuffer) {
    const std::string payload = sample_payload();
    const std::string gzip = encode(VRN_ENCODING_GZIP, payload);
    const std::string snappy = encode(VRN_ENCODING_SNAPPY, payload);
    const auto real = static_cast<std::uint32_t>(payload.size());
    std::string wide_claim = snappy;
    wide_claim[1] = static_cast<char>(wide_claim[1] + 1);  // 128 more
    // clang-format off
    const struct {
        const char *name; std::uint8_t encoding; std::string stream; std::size_t buffer_size;
        Lines lines;
    } cases[] = {
        {"gzip: no room", 'G', gzip, 0, zlib_failed},
        {"gzip: one byte short", 'G', gzip, payload.size() - 1, zlib_failed},
        {"gzip: trailer one too high", 'G', with_trailer(gzip, real + 1), real + 1, zlib_error},
        {"gzip: trailer one too low", 'G', with_trailer(gzip, real - 1), real, zlib_error},
        {"gzip: zlib framing", 'G', "\x78\x9C\x03", 0, zlib_error},
        {"gzip: nothing", 'G', "", 10, zlib_error},
        {"snappy: one byte short", 'S', snappy, payload.size() - 1, snappy_failed},
        {"snappy: preamble too high", 'S', wide_claim, payload.size() + 128, snappy_failed},
        {"snappy: nothing", 'S', "", 10, snappy_failed},
        {"unknown", 'X', gzip, payload.size(), {}},
    };
    // clang-format on
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        CapturedLog log;
        std::string decoded;
        EXPECT_FALSE(
            decode(vrn_page_encoding_t{test.encoding}, test.stream, test.buffer_size, &decoded));
        EXPECT_EQ(log.take(), test.lines);
    }
}

TEST(PageEncoding, StopsBehindTheFirstGzipMember) {
    const std::string stream =
        encode(VRN_ENCODING_GZIP, "ab") + encode(VRN_ENCODING_GZIP, "second");
    std::string buffer = "??????";
    std::size_t decoded_size = 0;
    EXPECT_TRUE(vrn_encoded_data_decode_prefix(VRN_ENCODING_GZIP, stream.data(), stream.size(),
                                               buffer.data(), buffer.size(), &decoded_size));
    EXPECT_EQ(decoded_size, 2U);
    EXPECT_EQ(buffer, "ab????");
    EXPECT_TRUE(decode(VRN_ENCODING_GZIP, stream, 6, &buffer));
    EXPECT_EQ(buffer, std::string("ab\0\0\0\0", 6));
}

// gzip carries a checksum and must notice; a snappy block has none, so only its size is sure.
TEST(PageEncoding, SurvivesEveryTruncationAndFlippedByte) {
    const std::string payload = sample_payload();
    for (const auto encoding : {VRN_ENCODING_GZIP, VRN_ENCODING_SNAPPY}) {
        const std::string stream = encode(encoding, payload);
        CapturedLog log;
        std::string decoded;
        for (std::size_t place = 0; place < stream.size(); ++place) {
            EXPECT_FALSE(decode(encoding, stream.substr(0, place), payload.size(), &decoded));
            ASSERT_EQ(log.take().size(), 1U) << place;
            for (const char flip : {'\x01', '\x80', '\xFF'}) {
                std::string bad = stream;
                bad[place] = static_cast<char>(bad[place] ^ flip);
                const bool good = decode(encoding, bad, payload.size(), &decoded);
                ASSERT_EQ(log.take().size(), good ? 0U : 1U) << place;
                ASSERT_TRUE(!good || encoding != VRN_ENCODING_GZIP || decoded == payload) << place;
            }
        }
    }
}

}  // namespace
}  // namespace vrn::test
