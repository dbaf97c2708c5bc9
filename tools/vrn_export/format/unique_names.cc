#include "vrn_export/format/unique_names.h"

#include <unordered_set>

namespace vrn::exporter {

std::vector<std::string> unique_names(std::vector<std::string> names,
                                      std::span<const std::string_view> reserved) {
    std::unordered_set<std::string> taken;
    for (const std::string_view name : reserved) taken.emplace(name);
    // In two rounds: what is unique as it was given keeps its name, also after one that was
    // changed.
    std::vector<std::size_t> homeless;
    for (std::size_t i = 0; i < names.size(); ++i)
        if (!taken.insert(names[i]).second) homeless.push_back(i);
    for (const std::size_t i : homeless) do
            names[i] += '_';
        while (!taken.insert(names[i]).second);
    return names;
}

}  // namespace vrn::exporter
