// Text for troff, as manual pages are written in it.
#pragma once

#include <string>
#include <string_view>

namespace vrn::manuals {

// `text` as it is: nothing of it is taken for a request or an escape, and programs can be given
// what is copied from the page.
std::string roff_text(std::string_view text);

}  // namespace vrn::manuals
