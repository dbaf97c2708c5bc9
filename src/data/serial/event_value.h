// One built-in value of an event record, for sinks that show it. A Sink has
//   bool number(T) of any arithmetic type, bool hex(std::uint64_t).
#pragma once

#include <cstdint>

#include "data/schema/builtin_types.h"
#include "utils/byte_reader.h"

namespace vrn {

// The word of which an integer fills all but the highest `spare_bits`. Its bytes alone are read, by
// fixed sizes, since a copy of a size found at run time costs a call.
inline std::uint64_t load_word(const void *data, unsigned spare_bits) {
    switch (spare_bits) {
        case 0:
            return load_le<std::uint64_t>(data);
        case 32:
            return load_le<std::uint32_t>(data);
        case 48:
            return load_le<std::uint16_t>(data);
        default:
            return load_le<std::uint8_t>(data);
    }
}

// Returns what the sink does; false, too, for the forms of no built-in value. Tests in the order of
// what records are full of.
template <typename Sink>
bool walk_value(vrn_value_form_t form, unsigned spare_bits, const void *data, Sink &sink) {
    if (form == VRN_VALUE_UNSIGNED) return sink.number(load_word(data, spare_bits));
    if (form == VRN_VALUE_DOUBLE) return sink.number(load_le<double>(data));
    if (form == VRN_VALUE_FLOAT) return sink.number(static_cast<double>(load_le<float>(data)));
    if (form == VRN_VALUE_HEX) return sink.hex(load_le<std::uint64_t>(data));
    if (form != VRN_VALUE_SIGNED) return false;
    const auto shifted = static_cast<std::int64_t>(load_word(data, spare_bits) << spare_bits);
    return sink.number(shifted >> spare_bits);
}

}  // namespace vrn
