#include "series/name_selection.h"

#include <fnmatch.h>

#include <algorithm>

namespace vrn::series {

bool NameSelection::takes(const std::string &name) const {
    // Without flags a "*" takes dots and slashes too, of which names are full.
    return takes_all() || std::ranges::any_of(patterns_, [&](const std::string &pattern) {
               return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
           });
}

}  // namespace vrn::series
