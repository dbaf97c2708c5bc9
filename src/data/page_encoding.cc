#include "data/page_encoding.h"

#include <libdeflate.h>
#include <snappy-c.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include "utils/byte_reader.h"
#include "utils/c_ptr.h"
#include "utils/log.h"

namespace {

// 15 bits of window plus 16: gzip framing only.
constexpr int gzip_window_bits = 31;

// The densest deflate stream repeats 258 bytes by two bits: one of a length and one of a distance.
constexpr std::uint64_t deflate_max_ratio = 258 * 8 / 2;
// No element of a snappy block gives more per byte than a copy with an offset of 16 bits.
constexpr std::uint64_t snappy_max_copy = 64;
constexpr std::uint64_t snappy_copy_size = 3;

std::uint64_t gzip_uncompressed_size(const std::uint8_t *data, std::size_t size) {
    if (size < 2 || data[0] != 0x1F || data[1] != 0x8B) {
        VRN_LOG(VRN_LOG_ERROR, "[encoded_data] Error: stream is not gzip compressed data");
        return 0;
    }
    if (size < sizeof(std::uint32_t)) {
        VRN_LOG(VRN_LOG_ERROR, "[encoded_data] Error: Compressed data is too small");
        return 0;
    }
    // The trailer's size is believed as it stands; callers bound what they allocate for it.
    return vrn::load_le<std::uint32_t>(data + size - sizeof(std::uint32_t));
}

std::uint64_t snappy_claimed_size(const void *data, std::size_t size) {
    std::size_t claimed = 0;
    const snappy_status status =
        snappy_uncompressed_length(static_cast<const char *>(data), size, &claimed);
    // Quiet here: the decoder reports the same stream right after.
    return status == SNAPPY_OK ? claimed : 0;
}

// zlib counts in 32 bits. Neither side of a page is longer; what is would end as a failed stream.
uInt to_zlib_size(std::size_t size) {
    return static_cast<uInt>(std::min<std::size_t>(size, std::numeric_limits<uInt>::max()));
}

// The quick way for a stream without fault that fills the buffer. Of all others zlib says what is
// wrong with them, or how much they give; the buffer may hold anything by then.
bool gzip_decode_whole(const void *data, std::size_t size, void *buffer, std::size_t buffer_size) {
    using Decompressor = vrn::CPtr<libdeflate_decompressor, libdeflate_free_decompressor>;
    constexpr std::size_t flags_at = 3;
    // The checksum that a header may have is looked at by zlib alone.
    if (size <= flags_at || static_cast<const std::uint8_t *>(data)[flags_at] != 0) return false;
    const Decompressor decompressor(libdeflate_alloc_decompressor());
    return decompressor && libdeflate_gzip_decompress(decompressor.get(), data, size, buffer,
                                                      buffer_size, nullptr) == LIBDEFLATE_SUCCESS;
}

bool gzip_decode_by_zlib(const void *data, std::size_t size, void *buffer, std::size_t buffer_size,
                         std::size_t *decoded_size) {
    z_stream stream{};
    const int begun = inflateInit2(&stream, gzip_window_bits);
    if (begun != Z_OK) {
        VRN_LOG(VRN_LOG_ERROR, "[encoded_data] inflateInit failed while decompressing.");
        if (begun == Z_MEM_ERROR) errno = ENOMEM;
        return false;
    }
    Bytef nothing = 0;  // zlib refuses null even where there is no room to write
    stream.next_in = static_cast<Bytef *>(const_cast<void *>(data));
    stream.avail_in = to_zlib_size(size);
    stream.next_out = buffer_size > 0 ? static_cast<Bytef *>(buffer) : &nothing;
    stream.avail_out = to_zlib_size(buffer_size);
    // One call for all: the room is known, and output beyond it means that the trailer lied.
    const int result = inflate(&stream, Z_NO_FLUSH);
    const std::size_t written = stream.total_out;
    inflateEnd(&stream);
    if (result < 0) {
        VRN_LOG(VRN_LOG_ERROR, "[encoded_data] zlib error while decompressing");
        if (result == Z_MEM_ERROR) errno = ENOMEM;
        return false;
    }
    if (result != Z_STREAM_END) {
        VRN_LOG(VRN_LOG_ERROR, "[encoded_data] zlib decompression failed");
        return false;
    }
    *decoded_size = written;
    return true;
}

bool gzip_decode(const void *data, std::size_t size, void *buffer, std::size_t buffer_size,
                 std::size_t *decoded_size) {
    if (!gzip_decode_whole(data, size, buffer, buffer_size))
        return gzip_decode_by_zlib(data, size, buffer, buffer_size, decoded_size);
    *decoded_size = buffer_size;
    return true;
}

bool snappy_decode(const void *data, std::size_t size, void *buffer, std::size_t buffer_size,
                   std::size_t *decoded_size) {
    std::size_t length = buffer_size;
    if (snappy_uncompress(static_cast<const char *>(data), size, static_cast<char *>(buffer),
                          &length) != SNAPPY_OK) {
        VRN_LOG(VRN_LOG_ERROR, "[encoded_data] snappy decompression failed");
        return false;
    }
    *decoded_size = length;
    return true;
}

}  // namespace

std::uint64_t vrn_encoded_data_uncompressed_size(vrn_page_encoding_t encoding, const void *data,
                                                 std::size_t size) {
    switch (encoding) {
        case VRN_ENCODING_GZIP:
            return gzip_uncompressed_size(static_cast<const std::uint8_t *>(data), size);
        case VRN_ENCODING_SNAPPY:
            return snappy_claimed_size(data, size);
        // An unknown encoding is no error of its own: its size is 0, its decoding fails without a
        // line.
        default:
            return 0;
    }
}

std::uint64_t vrn_encoded_data_max_decoded_size(vrn_page_encoding_t encoding, std::size_t size) {
    switch (encoding) {
        case VRN_ENCODING_GZIP:
            return size * deflate_max_ratio;
        case VRN_ENCODING_SNAPPY:
            return size * snappy_max_copy / snappy_copy_size;
        default:
            return 0;
    }
}

bool vrn_encoded_data_decode_prefix(vrn_page_encoding_t encoding, const void *data,
                                    std::size_t size, void *buffer, std::size_t buffer_size,
                                    std::size_t *decoded_size) {
    switch (encoding) {
        case VRN_ENCODING_GZIP:
            return gzip_decode(data, size, buffer, buffer_size, decoded_size);
        case VRN_ENCODING_SNAPPY:
            return snappy_decode(data, size, buffer, buffer_size, decoded_size);
        default:
            return false;
    }
}

bool vrn_encoded_data_decode(vrn_page_encoding_t encoding, const void *data, std::size_t size,
                             void *buffer, std::size_t buffer_size) {
    std::size_t decoded_size = 0;
    if (!vrn_encoded_data_decode_prefix(encoding, data, size, buffer, buffer_size, &decoded_size))
        return false;
    if (decoded_size < buffer_size)
        // A trailer may claim more than the stream gives; no earlier bytes may show through.
        std::memset(static_cast<char *>(buffer) + decoded_size, 0, buffer_size - decoded_size);
    return true;
}
