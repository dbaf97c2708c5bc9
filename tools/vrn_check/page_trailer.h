// What is wrong with a compressed page that doesn't decode.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "utils/byte_reader.h"

namespace vrn::check {

// Empty unless all of the page's stream decodes and its trailer alone is false. `block` is a whole
// page with its magics.
std::string false_trailer(Bytes block);

// The length that the page's trailer should have; none unless its checksum proves the bytes and its
// length alone is false.
std::optional<std::uint32_t> mended_length(Bytes block);

}  // namespace vrn::check
