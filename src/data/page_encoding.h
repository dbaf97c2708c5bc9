// Encoded streams of compressed pages: one gzip member, or a raw snappy block.
// Byte layout: docs/format.md, "Compressed page".
#pragma once

#include <cstddef>
#include <cstdint>

// Any other value is no error in itself: its size is unknown and its decoding fails, both silently.
enum vrn_page_encoding_t : std::uint8_t {
    VRN_ENCODING_GZIP = 'G',
    VRN_ENCODING_SNAPPY = 'S',
};

// Bytes that the `size` bytes of stream at `data` claim to decode to: the trailer of a gzip stream
// or the preamble of a snappy block, believed as it stands. 0 means unknown; a line was logged for
// gzip only.
std::uint64_t vrn_encoded_data_uncompressed_size(vrn_page_encoding_t encoding, const void *data,
                                                 std::size_t size);

// The most bytes that a stream of `size` bytes can decode to, whatever it claims. 0 if the encoding
// is unknown.
std::uint64_t vrn_encoded_data_max_decoded_size(vrn_page_encoding_t encoding, std::size_t size);

// Decodes the `size` bytes of stream at `data` into the `buffer_size` bytes at `buffer`, which may
// be null when `buffer_size` is 0. Of a gzip stream only the first member is read; what it does not
// fill of the buffer is zeroed. False after one line if the stream is corrupt or does not fit, or,
// with errno ENOMEM, if memory runs out; false without a line if the encoding is unknown.
[[nodiscard]] bool vrn_encoded_data_decode(vrn_page_encoding_t encoding, const void *data,
                                           std::size_t size, void *buffer, std::size_t buffer_size);

// vrn_encoded_data_decode without the zeroing: bytes after the decoded ones stay as they are, and
// `decoded_size` tells where they begin, so that a claimed size never has to become resident
// memory.
[[nodiscard]] bool vrn_encoded_data_decode_prefix(vrn_page_encoding_t encoding, const void *data,
                                                  std::size_t size, void *buffer,
                                                  std::size_t buffer_size,
                                                  std::size_t *decoded_size);
