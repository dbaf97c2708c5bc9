// Texts told apart by short ones.
#pragma once

#include <string>

namespace vrn::exporter {

// MD5 as 32 hex digits. Of what stands after a zero byte in `text` it knows nothing.
std::string hex_digest(const std::string &text);

}  // namespace vrn::exporter
