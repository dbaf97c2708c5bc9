#include "vrn_export/format/lines_fields.h"

namespace vrn::exporter {
namespace {

std::uint8_t bit_of(LinesFieldType type) {
    return static_cast<std::uint8_t>(1 << static_cast<int>(type));
}

const char *suffix_of(LinesFieldType type) {
    switch (type) {
        case LinesFieldType::integer:
            return "_integer";
        case LinesFieldType::float64:
            return "_float";
        default:
            return "_text";
    }
}

}  // namespace

void LinesFields::add(const std::string &name, LinesFieldType type) {
    types_[name] |= bit_of(type);
}

std::string LinesFields::name_of(const std::string &name, LinesFieldType type) const {
    const auto known = types_.find(name);
    const unsigned types = known == types_.end() ? 0 : known->second;
    // The lowest bit that is set is that of the first type.
    if ((types & (0 - types)) == bit_of(type)) return name;
    // No other field comes to the same name this way: it tells the name and the type it's made of.
    std::string own = name + suffix_of(type);
    while (types_.contains(own)) own += '_';
    return own;
}

}  // namespace vrn::exporter
