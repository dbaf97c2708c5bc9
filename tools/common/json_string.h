// Text of others as a string of JSON.
#pragma once

#include <string>
#include <string_view>

namespace vrn::tool {

// In quotes; bytes that are no UTF-8 are replaced by U+FFFD, each.
std::string json_string(std::string_view text);

}  // namespace vrn::tool
