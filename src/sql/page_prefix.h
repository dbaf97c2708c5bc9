// The first bytes of a compressed page, decoded alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "data/page_encoding.h"
#include "utils/byte_reader.h"

namespace vrn::sql {

// Of a stream that begins with `stream`, up to `size` decoded bytes: fewer when what is there of
// the stream gives no more or is damaged.
std::string decode_page_prefix(vrn_page_encoding_t encoding, Bytes stream, std::size_t size);

}  // namespace vrn::sql
