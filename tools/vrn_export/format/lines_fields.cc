#include "vrn_export/format/lines_fields.h"

namespace vrn::exporter {
namespace {

std::uint8_t bit_of(LinesFieldType type) {
    return static_cast<std::uint8_t>(1 << static_cast<int>(type));
}

}  // namespace

void LinesFields::add(const std::string &name, LinesFieldType type) {
    types_[name] |= bit_of(type);
}

std::string LinesFields::name_of(const std::string &name, LinesFieldType type) const {
    // No lower bit is set: the name has no type before this one.
    const bool is_first = types_.at(name) % bit_of(type) == 0;
    if (is_first) return name;
    // No other field comes to the same name this way: it tells the name and the type it's made of.
    std::string own = name + (type == LinesFieldType::text ? "_text" : "_float");
    while (types_.contains(own)) own += '_';
    return own;
}

}  // namespace vrn::exporter
