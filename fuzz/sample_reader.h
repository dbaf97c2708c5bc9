// The whole reader on a data file in memory. The sample schemas, which the file may name, stay
// loaded from one file to the next; what is printed goes nowhere.
#pragma once

#include <cstdint>

#include "utils/byte_reader.h"

namespace vrn::fuzz {

// Each input starts with a byte of choices: the format in its lowest two bits, metadata,
// microseconds, page information.
void read_data_file(std::uint8_t choices, Bytes file);

}  // namespace vrn::fuzz
