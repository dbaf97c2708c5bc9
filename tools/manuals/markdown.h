// Markdown as the text of a manual page.
#pragma once

#include <string>

namespace vrn::manuals {

// Headings become those of subsections; the title is left out, and of links the text stays. Throws
// std::runtime_error for what has no form here.
std::string roff_of_markdown(const std::string &markdown);

}  // namespace vrn::manuals
