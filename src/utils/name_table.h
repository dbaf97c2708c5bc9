// Small tables of ids and names.
#pragma once

#include <cstdint>

inline constexpr std::uint32_t VRN_NAME_UNKNOWN = 0xFFFFFFFF;

// A table ends at the first row with a null name, whose value is all ones.
struct vrn_name_value_t {
    std::uint32_t value;
    const char *name;
};

// Name of the first row with `value`, or null.
const char *vrn_value_to_name(const vrn_name_value_t *table, std::uint32_t value);

// Value of the first row named exactly `name`, or all ones (VRN_NAME_UNKNOWN).
std::uint32_t vrn_name_to_value(const vrn_name_value_t *table, const char *name);

// Match types of string arrays: exact, wildcard, regexp, contains.
extern const vrn_name_value_t vrn_match_type_names[];
const char *vrn_match_type_name(std::uint32_t value);
std::uint32_t vrn_match_type_from_name(const char *name);
