// Texts that others made, as an HTML page may carry them. No text ends what it stands in, and all
// are UTF-8, whatever their bytes were.
#pragma once

#include <string>
#include <string_view>

namespace vrn::metrics {

// `text` for a quoted string in a script of the page, which reads as `text` again. A byte that is
// no UTF-8 reads as a lone surrogate: shown as U+FFFD, it still keeps texts with different bytes
// apart.
std::string script_text(std::string_view text);

// The bytes that script_text() made `text` of.
std::string script_text_value(std::string_view text);

// `text` for the content of an element. NUL and bytes that are no UTF-8 read as U+FFFD.
std::string markup_text(std::string_view text);

}  // namespace vrn::metrics
