// What is wrong with a compressed page that doesn't decode.
#pragma once

#include <string>

#include "utils/byte_reader.h"

namespace vrn::check {

// Empty unless all of the page's stream decodes and its trailer alone is false. `block` is a whole
// page with its magics.
std::string false_trailer(Bytes block);

}  // namespace vrn::check
