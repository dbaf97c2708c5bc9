// A data file in memory, read by the whole reader with the sample schemas.
#pragma once

#include <string>

namespace vrn::fuzz {

// Reads `bytes` as a data file in the JSON and text formats; the output goes nowhere.
void read_data_file(const std::string &bytes);

}  // namespace vrn::fuzz
