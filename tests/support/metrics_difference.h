// Metrics blocks, as text and as trees: the two must not differ.
#pragma once

#include <string>
#include <string_view>

#include "utils/byte_reader.h"

namespace vrn::test {

// Empty when the text of `block` equals the printed tree in both layouts, or fails with the same
// lines and exception; otherwise what differs. `debug`: the lines of debug level are compared, too.
std::string metrics_block_difference(Bytes block, bool debug);

// As above, of a block with every kind of record, made from `choices`. Some are malformed.
std::string metrics_difference(std::string_view choices);

}  // namespace vrn::test
