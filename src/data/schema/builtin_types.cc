#include "data/schema/builtin_types.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

struct BuiltinType {
    std::uint32_t id;
    const char *name;
    std::size_t size;
    vrn_value_form_t form;
};

// In id order, without gaps.
constexpr std::array builtin_types{
    BuiltinType{VRN_BUILTIN_BOOL, "bool", 1, VRN_VALUE_UNSIGNED},
    BuiltinType{VRN_BUILTIN_CHAR, "char", 1, VRN_VALUE_UNSIGNED},
    BuiltinType{VRN_BUILTIN_SHORT, "short", 2, VRN_VALUE_SIGNED},
    BuiltinType{VRN_BUILTIN_INT, "int", 4, VRN_VALUE_SIGNED},
    BuiltinType{VRN_BUILTIN_LONG, "long", 8, VRN_VALUE_SIGNED},
    BuiltinType{VRN_BUILTIN_LONGLONG, "long long", 8, VRN_VALUE_SIGNED},
    BuiltinType{VRN_BUILTIN_UCHAR, "unsigned char", 1, VRN_VALUE_UNSIGNED},
    BuiltinType{VRN_BUILTIN_USHORT, "unsigned short", 2, VRN_VALUE_UNSIGNED},
    BuiltinType{VRN_BUILTIN_UINT, "unsigned int", 4, VRN_VALUE_UNSIGNED},
    BuiltinType{VRN_BUILTIN_ULONG, "unsigned long", 8, VRN_VALUE_UNSIGNED},
    BuiltinType{VRN_BUILTIN_ULONGLONG, "unsigned long long", 8, VRN_VALUE_UNSIGNED},
    BuiltinType{VRN_BUILTIN_FLOAT, "float", 4, VRN_VALUE_FLOAT},
    BuiltinType{VRN_BUILTIN_DOUBLE, "double", 8, VRN_VALUE_DOUBLE},
    BuiltinType{VRN_BUILTIN_INT8, "int8_t", 1, VRN_VALUE_SIGNED},
    BuiltinType{VRN_BUILTIN_INT16, "int16_t", 2, VRN_VALUE_SIGNED},
    BuiltinType{VRN_BUILTIN_INT32, "int32_t", 4, VRN_VALUE_SIGNED},
    BuiltinType{VRN_BUILTIN_INT64, "int64_t", 8, VRN_VALUE_SIGNED},
    BuiltinType{VRN_BUILTIN_UINT8, "uint8_t", 1, VRN_VALUE_UNSIGNED},
    BuiltinType{VRN_BUILTIN_UINT16, "uint16_t", 2, VRN_VALUE_UNSIGNED},
    BuiltinType{VRN_BUILTIN_UINT32, "uint32_t", 4, VRN_VALUE_UNSIGNED},
    BuiltinType{VRN_BUILTIN_UINT64, "uint64_t", 8, VRN_VALUE_UNSIGNED},
    BuiltinType{VRN_BUILTIN_TIMESTAMP, "timestamp", 8, VRN_VALUE_UNSIGNED},
};

const BuiltinType *find_builtin(std::uint32_t id) {
    return id >= 1 && id <= builtin_types.size() ? &builtin_types[id - 1] : nullptr;
}

}  // namespace

const char *vrn_builtin_type_name(std::uint32_t id) {
    const BuiltinType *type = find_builtin(id);
    return type ? type->name : nullptr;
}

std::size_t vrn_builtin_type_size(std::uint32_t id) {
    const BuiltinType *type = find_builtin(id);
    return type ? type->size : 0;
}

std::uint32_t vrn_builtin_type_id(const char *name) {
    const auto found = std::ranges::find(builtin_types, std::string_view(name),
                                         [](const BuiltinType &type) { return type.name; });
    return found == builtin_types.end() ? VRN_BUILTIN_NONE : found->id;
}

// A composite type has no size here, so all 64 bits are spare.
std::uint8_t vrn_builtin_spare_bits(std::uint32_t id) {
    return static_cast<std::uint8_t>(64 - 8 * vrn_builtin_type_size(id));
}

vrn_value_form_t vrn_builtin_value_form(std::uint32_t id, bool contains_guid) {
    // Deliberate: "long", "long long" and timestamps stay numbers, whatever their name says.
    const bool may_hold_guid = id == VRN_BUILTIN_INT64 || id == VRN_BUILTIN_UINT64 ||
                               id == VRN_BUILTIN_ULONG || id == VRN_BUILTIN_ULONGLONG;
    if (contains_guid && may_hold_guid) return VRN_VALUE_HEX;
    const BuiltinType *type = find_builtin(id);
    return type ? type->form : VRN_VALUE_NONE;
}

void vrn_builtin_types_print(std::FILE *stream) {
    // The heading pads the last column, the rows follow it: the blanks at the line ends are pinned.
    std::fprintf(stream, " %2s %-25s  %-8s\n", "Id", "Name", "Size");
    for (const BuiltinType &type : builtin_types)
        std::fprintf(stream, " %2u %-25s  %-8zu\n", type.id, type.name, type.size);
}
