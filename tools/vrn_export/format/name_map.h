// Values by names, found by views of them.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vrn::exporter {

struct NameHash : std::hash<std::string_view> {
    using is_transparent = void;
};

template <typename Value>
using NameMap = std::unordered_map<std::string, Value, NameHash, std::equal_to<>>;

}  // namespace vrn::exporter
