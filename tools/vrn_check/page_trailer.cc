#include "vrn_check/page_trailer.h"

#include <zlib.h>

#include <array>

#include "data/compressed_page.h"

namespace vrn::check {
namespace {

constexpr std::size_t trailer_size = 8;  // CRC and size, 4 bytes each
constexpr int gzip_window_bits = 31;

// How a stream ends whose bytes were all decoded.
enum class StreamEnd : std::uint8_t { sound, wrong_length, wrong_checksum, within };

// Decodes the stream and throws the bytes away.
StreamEnd decode(Bytes stream, std::uint64_t *decoded_size) {
    z_stream state{};
    if (inflateInit2(&state, gzip_window_bits) != Z_OK) return StreamEnd::within;
    // zlib only reads from it, though the type doesn't say so.
    state.next_in = const_cast<Bytef *>(stream.data());
    state.avail_in = static_cast<uInt>(stream.size());
    std::array<Bytef, 32768> room;
    int result = Z_OK;
    // A stream that is cut ends with Z_BUF_ERROR.
    while (result == Z_OK) {
        state.next_out = room.data();
        state.avail_out = room.size();
        result = inflate(&state, Z_NO_FLUSH);
    }
    *decoded_size = state.total_out;
    // Only the text tells these apart. It is a constant of zlib's and outlives the state.
    const std::string_view cause = state.msg ? state.msg : "";
    inflateEnd(&state);
    if (result == Z_STREAM_END) return StreamEnd::sound;
    if (cause == "incorrect length check") return StreamEnd::wrong_length;
    return cause == "incorrect data check" ? StreamEnd::wrong_checksum : StreamEnd::within;
}

// Of a page that isn't gzip it ends within.
StreamEnd decode_page(Bytes block, std::uint64_t *decoded_size) {
    const auto fields = vrn_compressed_page_header_load(block.data() + VRN_MAGIC_SIZE);
    if (fields.encoding != VRN_ENCODING_GZIP || fields.data_size < trailer_size)
        return StreamEnd::within;
    return decode(block.subspan(VRN_MAGIC_SIZE + fields.header_size, fields.data_size),
                  decoded_size);
}

}  // namespace

std::string false_trailer(Bytes block) {
    std::uint64_t size = 0;
    if (decode_page(block, &size) == StreamEnd::within) return "";
    const std::uint64_t claimed =
        vrn_compressed_page_uncompressed_size(block.data() + VRN_MAGIC_SIZE);
    if (claimed == size) return "A page's trailer has a wrong checksum";
    return "A page's trailer tells of " + std::to_string(claimed) + " bytes, its stream has " +
           std::to_string(size);
}

std::optional<std::uint32_t> mended_length(Bytes block) {
    std::uint64_t size = 0;
    // zlib compares the checksum first.
    if (decode_page(block, &size) != StreamEnd::wrong_length) return std::nullopt;
    return static_cast<std::uint32_t>(size);
}

}  // namespace vrn::check
