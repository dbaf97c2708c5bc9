// Names that stand side by side.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vrn::exporter {

// `names` with "_" after those that are reserved or stood before, as often as it takes to make each
// the only one of its kind. Names that are free stay as they are.
std::vector<std::string> unique_names(std::vector<std::string> names,
                                      std::span<const std::string_view> reserved);

}  // namespace vrn::exporter
