// Compressed page block: magic, compressed page header, encoded stream, closing magic.
// Byte layout: docs/format.md, "Compressed page".
//
// `header` always points at `header_size`, which is offset 4 of the block, and stands for bytes
// that others may have made. Callers vouch for the first VRN_COMPRESSED_PAGE_LEAD_SIZE bytes at it
// and for `header_size` plus `data_size` bytes in all; more is never read. Header fields and texts
// that lie beyond `header_size` read as zeros.
#pragma once

#include <cstddef>
#include <cstdint>

#include "data/data_page.h"
#include "data/page_encoding.h"
#include "utils/byte_reader.h"
#include "utils/source.h"

#pragma pack(push, 1)
// Followed by the source and the tag, each as a length byte and its characters, then the stream.
struct vrn_compressed_page_header_t {
    std::uint8_t header_size;  // bytes from here to the stream
    vrn_page_encoding_t encoding;
    std::uint32_t data_size;  // bytes of the stream
    std::uint64_t first_timestamp;
    std::uint64_t last_timestamp;
};
#pragma pack(pop)
static_assert(sizeof(vrn_compressed_page_header_t) == 22);
static_assert(offsetof(vrn_compressed_page_header_t, encoding) == 1);
static_assert(offsetof(vrn_compressed_page_header_t, data_size) == 2);
static_assert(offsetof(vrn_compressed_page_header_t, first_timestamp) == 6);
static_assert(offsetof(vrn_compressed_page_header_t, last_timestamp) == 14);

inline constexpr std::size_t VRN_COMPRESSED_PAGE_LEAD_SIZE = 6;  // up to and with `data_size`
inline constexpr std::size_t VRN_COMPRESSED_PAGE_MAX_HEADER_SIZE = 104;
inline constexpr std::size_t VRN_MAGIC_SIZE = 4;

// Bytes of the page block at the start of `rest`, magics included; 0 when it is not there as a
// whole. Its `header` is at VRN_MAGIC_SIZE. The opening magic is the caller's to check.
std::size_t vrn_compressed_page_whole_size(vrn::Bytes rest);

// The fixed fields, copied out.
vrn_compressed_page_header_t vrn_compressed_page_header_load(const void *header);

// Bytes a header takes with these texts, of which at most the width of their fields counts.
std::size_t vrn_pascal_strings_size(const vrn_source_t *source);
// For terminated texts, which count whole.
std::size_t vrn_pascal_strings_size(const char *source, const char *tag);

// Writes a length byte and at most `max_length` (and 255) characters of `string`; returns the bytes
// written. 0 after a line when there are more characters than `buffer_size`. A text of exactly
// `buffer_size` characters passes and takes one byte more: the caller has room for it.
std::size_t vrn_copy_as_pascal_string_info_buffer(const char *string, std::size_t max_length,
                                                  void *buffer, std::size_t buffer_size);

// Unpacks the texts of a header into `source`. Copies as strncpy does: after a shorter text the
// rest of the old one stays.
void vrn_pascal_strings_to_source(const void *header, vrn_source_t *source);

// Writes the header for a stream of `stream_size` bytes of the page's data. Returns its size, or 0
// after a line when `buffer_size` is too small. A stream above 4 GiB logs a line, but the header is
// made, with the low 32 bits of the size.
[[nodiscard]] std::size_t vrn_copy_vrnp_header_into_buffer(const vrn_data_page_t *page,
                                                           vrn_page_encoding_t encoding,
                                                           std::size_t stream_size, void *buffer,
                                                           std::size_t buffer_size);

// Writes a copy of `header` with other texts. Returns its size, or 0 after a line when
// `buffer_size` is too small.
std::size_t vrn_embed_vrnp_header_into_buffer(const void *header, const vrn_source_t *source,
                                              void *buffer, std::size_t buffer_size);

// Bytes that the stream of `header` claims to decode to; 0 means unknown.
std::uint64_t vrn_compressed_page_uncompressed_size(const void *header);

// Bytes of room that the decoding takes: the claimed size, or the most that a stream of this length
// can decode to when that is less. With it, a false claim costs no memory and fails as it would
// with all the room it asks for.
std::uint64_t vrn_compressed_page_decoded_room(const void *header);

// Decodes the stream into a buffer of exactly the uncompressed size. False after a line, or
// without one when the encoding is unknown.
[[nodiscard]] bool vrn_compressed_page_decode(const void *header, void *buffer,
                                              std::size_t buffer_size);

// Decodes into a buffer of exactly vrn_compressed_page_decoded_room and leaves the bytes after the
// decoded ones as they are; see vrn_encoded_data_decode_prefix.
[[nodiscard]] bool vrn_compressed_page_decode_prefix(const void *header, void *buffer,
                                                     std::size_t buffer_size,
                                                     std::size_t *decoded_size);

// Decodes the stream into a new block that ends with free(). Null on failure. `uncompressed_size`
// receives the claimed size, also on failure. What a gzip member leaves of it is zero. Of a claim
// that no stream of this length can meet, a block has vrn_compressed_page_decoded_room bytes, which
// are its size then.
[[nodiscard]] void *vrn_compressed_page_decode_alloc(const void *header,
                                                     std::uint64_t *uncompressed_size);
