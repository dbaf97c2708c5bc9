// Producer side of compressed pages: encodes payloads and builds whole page blocks.
#pragma once

#include <cstddef>
#include <cstdint>

#include "data/page_encoding.h"
#include "utils/source.h"

// Encodes `size` bytes into a new block that ends with free(), of `encoded_size` bytes. Null after
// one line when memory runs out, when the encoding is unknown, or when the payload is too long for
// a page, whose sizes have 32 bits.
[[nodiscard]] void *vrn_encoded_data_encode(vrn_page_encoding_t encoding, const void *data,
                                            std::size_t size, std::size_t *encoded_size);

// What a page block says of its payload. Times are microseconds since the epoch.
struct vrn_page_info_t {
    vrn_source_t source;
    std::uint64_t first_timestamp;
    std::uint64_t last_timestamp;
    vrn_page_encoding_t encoding;
};

// Builds the block that holds the `size` bytes at `payload`: a new block that ends with free(), of
// `block_size` bytes. Blocks follow each other in a chunk without alignment, and none may leave it.
// Null after one line.
[[nodiscard]] void *vrn_compressed_page_encode(const vrn_page_info_t *info, const void *payload,
                                               std::size_t size, std::size_t *block_size);
