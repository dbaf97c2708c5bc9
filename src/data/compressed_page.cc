#include "data/compressed_page.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "utils/byte_reader.h"
#include "utils/c_ptr.h"
#include "utils/log.h"

namespace {

using Header = vrn_compressed_page_header_t;

constexpr std::size_t fixed_size = sizeof(Header);
// Two length bytes come with the fixed fields, whatever the texts.
constexpr std::size_t size_without_texts = fixed_size + 2;
constexpr std::size_t max_pascal_length = 255;  // what a length byte can tell

constexpr char end_magic[] = {'v', 'r', 'n', 'p'};

const std::uint8_t *as_bytes(const void *data) {
    return static_cast<const std::uint8_t *>(data);
}

// Needed bytes of a header with these texts, or 0 after a line under the name of `caller`.
std::size_t fitting_size(const vrn_source_t *source, std::size_t buffer_size, const char *caller) {
    const std::size_t needed = vrn_pascal_strings_size(source);
    if (needed <= buffer_size) return needed;
    VRN_LOG(VRN_LOG_ERROR,
            "[%s] buffer of %lu bytes is too small to accommodate VRNP header of %lu bytes", caller,
            buffer_size, needed);
    return 0;
}

// Writes the fixed fields and then the texts; returns the size of the header or 0.
std::size_t write_header(const Header &fixed, const vrn_source_t *source, void *buffer,
                         std::size_t buffer_size) {
    auto *to = static_cast<std::uint8_t *>(buffer);
    std::memcpy(to, &fixed, fixed_size);
    const std::size_t source_size = vrn_copy_as_pascal_string_info_buffer(
        source->source, VRN_SOURCE_NAME_SIZE, to + fixed_size, buffer_size - fixed_size);
    if (source_size == 0) return 0;
    const std::size_t tag_at = fixed_size + source_size;
    const std::size_t tag_size = vrn_copy_as_pascal_string_info_buffer(
        source->tag, VRN_SOURCE_TAG_SIZE, to + tag_at, buffer_size - tag_at);
    return tag_size == 0 ? 0 : fixed.header_size;
}

// Takes a length byte and its characters, cut to what is there.
std::string_view read_pascal_string(vrn::ByteReader *reader) {
    std::uint8_t length = 0;
    std::string_view text;
    if (!reader->read(&length)) return text;
    if (!reader->text(std::min<std::size_t>(length, reader->remaining()), &text)) return text;
    return text;
}

// No terminator after a full text, none of the rest cleared, and an empty text changes nothing: a
// page that is reused keeps what stood after a shorter name. Deliberate.
template <std::size_t N>
void copy_like_strncpy(char (&to)[N], std::string_view text) {
    if (text.empty()) return;
    const std::size_t limit = std::min(N, text.size());
    const std::size_t length = strnlen(text.data(), limit);
    std::memcpy(to, text.data(), length);
    std::memset(to + length, 0, limit - length);
}

vrn::Bytes stream_of(const void *header) {
    const Header fixed = vrn_compressed_page_header_load(header);
    return {as_bytes(header) + fixed.header_size, fixed.data_size};
}

// The claim comes from a trailer that anybody can write. What the stream can hold at most bounds
// the memory that is taken for it.
std::uint64_t room_for(std::uint64_t claimed, const void *header) {
    const Header fixed = vrn_compressed_page_header_load(header);
    return std::min(claimed, vrn_encoded_data_max_decoded_size(fixed.encoding, fixed.data_size));
}

bool check_buffer_size(std::uint64_t expected, std::size_t buffer_size) {
    if (buffer_size == expected) return true;
    VRN_LOG(VRN_LOG_ERROR, "invalid buffer size to uncompress vrnp data");
    return false;
}

}  // namespace

std::size_t vrn_compressed_page_whole_size(vrn::Bytes rest) {
    std::uint8_t header_size = 0;
    std::uint8_t encoding = 0;
    std::uint32_t data_size = 0;
    vrn::ByteReader reader(rest);
    if (!reader.skip(VRN_MAGIC_SIZE) || !reader.read(&header_size) || !reader.read(&encoding) ||
        !reader.read(&data_size))
        return 0;
    // Cannot overflow: 8 and 32 bits in 64.
    const std::size_t end = VRN_MAGIC_SIZE + header_size + data_size;
    const std::size_t size = end + sizeof end_magic;
    if (size > rest.size()) return 0;
    return std::memcmp(rest.data() + end, end_magic, sizeof end_magic) == 0 ? size : 0;
}

vrn_compressed_page_header_t vrn_compressed_page_header_load(const void *header) {
    // A header shorter than its fixed fields reads as if zeros followed.
    const std::size_t covered =
        std::clamp<std::size_t>(as_bytes(header)[0], VRN_COMPRESSED_PAGE_LEAD_SIZE, fixed_size);
    Header fixed{};
    std::memcpy(&fixed, header, covered);
    return fixed;
}

std::size_t vrn_pascal_strings_size(const vrn_source_t *source) {
    return strnlen(source->source, VRN_SOURCE_NAME_SIZE) +
           strnlen(source->tag, VRN_SOURCE_TAG_SIZE) + size_without_texts;
}

std::size_t vrn_pascal_strings_size(const char *source, const char *tag) {
    return std::strlen(source) + std::strlen(tag) + size_without_texts;
}

std::size_t vrn_copy_as_pascal_string_info_buffer(const char *string, std::size_t max_length,
                                                  void *buffer, std::size_t buffer_size) {
    const std::size_t length = strnlen(string, std::min(max_length, max_pascal_length));
    // Deliberate: a text of exactly `buffer_size` bytes passes and takes one more for its length.
    // Callers size the buffer by vrn_pascal_strings_size.
    if (length > buffer_size) {
        VRN_LOG(VRN_LOG_ERROR,
                "[%s] buffer of %lu bytes is too small to accommodate string of %lu bytes",
                __func__, buffer_size, length);
        return 0;
    }
    auto *to = static_cast<std::uint8_t *>(buffer);
    *to = static_cast<std::uint8_t>(length);
    std::memcpy(to + 1, string, length);
    return length + 1;
}

void vrn_pascal_strings_to_source(const void *header, vrn_source_t *source) {
    vrn::ByteReader reader({as_bytes(header), as_bytes(header)[0]});
    if (!reader.skip(fixed_size)) return;
    copy_like_strncpy(source->source, read_pascal_string(&reader));
    copy_like_strncpy(source->tag, read_pascal_string(&reader));
}

std::size_t vrn_copy_vrnp_header_into_buffer(const vrn_data_page_t *page,
                                             vrn_page_encoding_t encoding, std::size_t stream_size,
                                             void *buffer, std::size_t buffer_size) {
    const std::size_t needed = fitting_size(&page->source, buffer_size, __func__);
    if (needed == 0) return 0;
    // Deliberate: the header is made all the same; the line is the caller's warning.
    if (stream_size > std::numeric_limits<std::uint32_t>::max())
        VRN_LOG(VRN_LOG_ERROR, "[%s] encoded stream size of %lu bytes is too large", __func__,
                stream_size);
    const Header fixed = {
        .header_size = static_cast<std::uint8_t>(needed),
        .encoding = encoding,
        .data_size = static_cast<std::uint32_t>(stream_size),
        .first_timestamp = page->first_ts,
        .last_timestamp = page->last_ts,
    };
    return write_header(fixed, &page->source, buffer, buffer_size);
}

std::size_t vrn_embed_vrnp_header_into_buffer(const void *header, const vrn_source_t *source,
                                              void *buffer, std::size_t buffer_size) {
    const std::size_t needed = fitting_size(source, buffer_size, __func__);
    if (needed == 0) return 0;
    // Encoding, stream size and times are those of the old header, whatever they are.
    Header fixed = vrn_compressed_page_header_load(header);
    fixed.header_size = static_cast<std::uint8_t>(needed);
    return write_header(fixed, source, buffer, buffer_size);
}

std::uint64_t vrn_compressed_page_uncompressed_size(const void *header) {
    const vrn::Bytes stream = stream_of(header);
    return vrn_encoded_data_uncompressed_size(vrn_compressed_page_header_load(header).encoding,
                                              stream.data(), stream.size());
}

std::uint64_t vrn_compressed_page_decoded_room(const void *header) {
    return room_for(vrn_compressed_page_uncompressed_size(header), header);
}

bool vrn_compressed_page_decode(const void *header, void *buffer, std::size_t buffer_size) {
    if (!check_buffer_size(vrn_compressed_page_uncompressed_size(header), buffer_size))
        return false;
    const vrn::Bytes stream = stream_of(header);
    return vrn_encoded_data_decode(vrn_compressed_page_header_load(header).encoding, stream.data(),
                                   stream.size(), buffer, buffer_size);
}

bool vrn_compressed_page_decode_prefix(const void *header, void *buffer, std::size_t buffer_size,
                                       std::size_t *decoded_size) {
    if (!check_buffer_size(vrn_compressed_page_decoded_room(header), buffer_size)) return false;
    const vrn::Bytes stream = stream_of(header);
    return vrn_encoded_data_decode_prefix(vrn_compressed_page_header_load(header).encoding,
                                          stream.data(), stream.size(), buffer, buffer_size,
                                          decoded_size);
}

void *vrn_compressed_page_decode_alloc(const void *header, std::uint64_t *uncompressed_size) {
    if (!uncompressed_size) {
        VRN_LOG(VRN_LOG_ERROR, "'uncompressed_size' must be allocated");
        return nullptr;
    }
    const std::uint64_t claimed = vrn_compressed_page_uncompressed_size(header);
    // Set before anything can fail: callers report the claimed size.
    *uncompressed_size = claimed;
    const std::uint64_t room = room_for(claimed, header);
    // Large blocks come cleared from the system, so that what is not decoded takes no memory.
    vrn::CPtr<void, std::free> block(std::calloc(std::max<std::uint64_t>(room, 1), 1));
    if (!block) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate data block of size %lu: %s", room,
                std::strerror(errno));
        return nullptr;
    }
    std::size_t decoded_size = 0;
    if (!vrn_compressed_page_decode_prefix(header, block.get(), room, &decoded_size))
        return nullptr;
    // The rest of the claim does not exist, so that nobody reads it.
    *uncompressed_size = room;
    return block.release();  // to the caller
}
