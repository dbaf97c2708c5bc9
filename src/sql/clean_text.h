// Texts of files as the engine may hold them.
#pragma once

#include <string>
#include <string_view>

namespace vrn::sql {

// `text` with each byte that is part of no UTF-8 character as U+FFFD.
std::string clean_text(std::string_view text);

}  // namespace vrn::sql
