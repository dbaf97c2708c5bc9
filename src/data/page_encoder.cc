#include "data/page_encoder.h"

#include <snappy-c.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <limits>

#include "data/compressed_page.h"
#include "data/magic.h"
#include "utils/c_ptr.h"
#include "utils/log.h"

namespace {

using Block = vrn::CPtr<void, std::free>;

constexpr int gzip_window_bits = 15 + 16;  // gzip framing
constexpr int default_memory_level = 8;

void *fail(const char *cause) {
    VRN_LOG(VRN_LOG_ERROR, "[encoded_data] Failed to encode page data: %s", cause);
    return nullptr;
}

// All of the input goes in at once, so that one member with a true size comes out.
void *gzip_encode(const void *data, std::size_t size, std::size_t *encoded_size) {
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzip_window_bits,
                     default_memory_level, Z_DEFAULT_STRATEGY) != Z_OK)
        return fail("deflateInit failed");
    // Room for the worst case, so that one call takes it all.
    const std::size_t bound = deflateBound(&stream, size);
    // zlib counts room in 32 bits; a page that could outgrow them is refused as if memory ran out.
    Block block(bound <= std::numeric_limits<uInt>::max() ? std::malloc(bound) : nullptr);
    if (!block) {
        deflateEnd(&stream);
        return fail("no memory");
    }
    stream.next_in = static_cast<Bytef *>(const_cast<void *>(data));
    stream.avail_in = static_cast<uInt>(size);
    stream.next_out = static_cast<Bytef *>(block.get());
    stream.avail_out = static_cast<uInt>(bound);
    const int result = deflate(&stream, Z_FINISH);
    *encoded_size = stream.total_out;
    deflateEnd(&stream);
    if (result != Z_STREAM_END) return fail("zlib error");
    return block.release();  // to the caller
}

void *snappy_encode(const void *data, std::size_t size, std::size_t *encoded_size) {
    std::size_t length = snappy_max_compressed_length(size);
    Block block(std::malloc(length));
    if (!block) return fail("no memory");
    if (snappy_compress(static_cast<const char *>(data), size, static_cast<char *>(block.get()),
                        &length) != SNAPPY_OK)
        return fail("snappy error");
    *encoded_size = length;
    return block.release();  // to the caller
}

std::size_t write_page_header(const vrn_page_info_t *info, std::size_t stream_size, void *buffer,
                              std::size_t buffer_size) {
    // The header is made of a page, of which only these fields count.
    vrn_data_page_t page{};
    page.source = info->source;
    page.first_ts = info->first_timestamp;
    page.last_ts = info->last_timestamp;
    return vrn_copy_vrnp_header_into_buffer(&page, info->encoding, stream_size, buffer,
                                            buffer_size);
}

}  // namespace

void *vrn_encoded_data_encode(vrn_page_encoding_t encoding, const void *data, std::size_t size,
                              std::size_t *encoded_size) {
    if (size > std::numeric_limits<std::uint32_t>::max()) return fail("more than 4 GiB");
    switch (encoding) {
        case VRN_ENCODING_GZIP:
            return gzip_encode(data, size, encoded_size);
        case VRN_ENCODING_SNAPPY:
            return snappy_encode(data, size, encoded_size);
        default:
            return fail("unknown encoding");
    }
}

void *vrn_compressed_page_encode(const vrn_page_info_t *info, const void *payload, std::size_t size,
                                 std::size_t *block_size) {
    std::size_t stream_size = 0;
    const Block stream(vrn_encoded_data_encode(info->encoding, payload, size, &stream_size));
    if (!stream) return nullptr;
    // The header would keep the low 32 bits only. Snappy may grow what it can't shrink.
    if (stream_size > std::numeric_limits<std::uint32_t>::max()) return fail("more than 4 GiB");

    const std::size_t header_size = vrn_pascal_strings_size(&info->source);
    const std::size_t total = VRN_MAGIC_SIZE + header_size + stream_size + VRN_MAGIC_SIZE;
    Block block(std::malloc(total));
    if (!block) return fail("no memory");
    auto *to = static_cast<char *>(block.get());
    vrn_magic_set(to, VRN_MAGIC_PAGE);
    to += VRN_MAGIC_SIZE;
    if (write_page_header(info, stream_size, to, header_size) == 0) return nullptr;
    to += header_size;
    std::memcpy(to, stream.get(), stream_size);
    vrn_magic_set_end(to + stream_size, VRN_MAGIC_PAGE);
    *block_size = total;
    return block.release();  // to the caller
}
