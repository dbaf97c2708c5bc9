#include "vrn_check/page_trailer.h"

#include <zlib.h>

#include <array>

#include "data/compressed_page.h"

namespace vrn::check {
namespace {

constexpr std::size_t trailer_size = 8;  // CRC and size, 4 bytes each
constexpr int gzip_window_bits = 31;

// Decodes the stream and throws the bytes away. True when all but its trailer holds.
bool has_whole_body(Bytes stream, std::uint64_t *decoded_size) {
    z_stream state{};
    if (inflateInit2(&state, gzip_window_bits) != Z_OK) return false;
    state.next_in = const_cast<Bytef *>(stream.data());
    state.avail_in = static_cast<uInt>(stream.size());
    std::array<Bytef, 32768> room;
    int result = Z_OK;
    while (result == Z_OK) {
        state.next_out = room.data();
        state.avail_out = room.size();
        result = inflate(&state, Z_NO_FLUSH);
    }
    *decoded_size = state.total_out;
    const std::string_view cause = state.msg ? state.msg : "";
    inflateEnd(&state);
    return result == Z_STREAM_END || cause == "incorrect length check" ||
           cause == "incorrect data check";
}

}  // namespace

std::string false_trailer(Bytes block) {
    const std::uint8_t *header = block.data() + VRN_MAGIC_SIZE;
    const auto fields = vrn_compressed_page_header_load(header);
    if (fields.encoding != VRN_ENCODING_GZIP || fields.data_size < trailer_size) return "";
    std::uint64_t size = 0;
    const Bytes stream = block.subspan(VRN_MAGIC_SIZE + fields.header_size, fields.data_size);
    if (!has_whole_body(stream, &size)) return "";
    const std::uint64_t claimed = vrn_compressed_page_uncompressed_size(header);
    if (claimed == size) return "A page's trailer has a wrong checksum";
    return "A page's trailer tells of " + std::to_string(claimed) + " bytes, its stream has " +
           std::to_string(size);
}

}  // namespace vrn::check
