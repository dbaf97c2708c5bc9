// The sources that a run stores its data for.
#pragma once

#include <optional>
#include <set>
#include <string>

namespace vrn::collect {

// Names of the sources that `text` specifies (utils/source_list.h): a regular file, or a range of
// decimal numbers or with brackets. Any other text is the name of one source, as it may be in the
// form of a GUID. Without a text there is this host. Throws std::runtime_error.
std::set<std::string> make_source_names(const std::optional<std::string> &text);

}  // namespace vrn::collect
