// Where the schemas of a data file are looked for.
#pragma once

#include <string>

namespace vrn::tool {

// `given` unless it is empty; otherwise where vrn_read would find the schemas of the file at
// `path`.
std::string schema_folder_of(const std::string &path, const std::string &given);

}  // namespace vrn::tool
