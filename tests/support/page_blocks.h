// Compressed page blocks for fixtures: built by the library's encoder, or from stated fields.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "data/page_encoder.h"
#include "support/byte_builder.h"
#include "utils/c_ptr.h"

namespace vrn::test {

inline std::string take_block(void *block, std::size_t size) {
    const CPtr<void, std::free> owner(block);
    if (!block) throw std::runtime_error("no block");
    return {static_cast<const char *>(block), size};
}

inline vrn_source_t make_source(std::string_view name, std::string_view tag) {
    vrn_source_t source{};
    name.copy(source.source, sizeof source.source);
    tag.copy(source.tag, sizeof source.tag);
    return source;
}

inline std::string encode(vrn_page_encoding_t encoding, std::string_view payload) {
    std::size_t size = 0;
    void *stream = vrn_encoded_data_encode(encoding, payload.data(), payload.size(), &size);
    return take_block(stream, size);
}

// A whole page block as a producer writes it.
inline std::string encode_page(vrn_page_encoding_t encoding, std::string_view payload) {
    const vrn_page_info_t info = {make_source("abc", "x"), 1000, 2000, encoding};
    std::size_t size = 0;
    void *block = vrn_compressed_page_encode(&info, payload.data(), payload.size(), &size);
    return take_block(block, size);
}

// The compressed page header with each field stated; the stream follows it.
struct HeaderFields {
    std::uint8_t header_size = 28;
    std::uint8_t encoding = VRN_ENCODING_GZIP;
    std::uint32_t data_size = 0;
    std::uint8_t source_length = 3;
    std::string source = "abc";
    std::uint8_t tag_length = 1;
    std::string tag = "x";
};

inline std::string header_bytes(const HeaderFields &fields) {
    ByteBuilder bytes;
    bytes.u8(fields.header_size).u8(fields.encoding).u32(fields.data_size).u64(1000).u64(2000);
    bytes.u8(fields.source_length).text(fields.source);
    return bytes.u8(fields.tag_length).text(fields.tag).done();
}

// A page block around a stream that may be anything.
inline std::string page_around(std::uint8_t encoding, const std::string &stream) {
    const HeaderFields fields = {.encoding = encoding,
                                 .data_size = static_cast<std::uint32_t>(stream.size())};
    return "VRNP" + header_bytes(fields) + stream + "vrnp";
}

}  // namespace vrn::test
