#include "utils/name_table.h"

#include <cstring>

// Tables have a handful of rows; an index would cost more than the walk.
const char *vrn_value_to_name(const vrn_name_value_t *table, std::uint32_t value) {
    for (; table->name; ++table)
        if (table->value == value) return table->name;
    return nullptr;
}

std::uint32_t vrn_name_to_value(const vrn_name_value_t *table, const char *name) {
    for (; table->name; ++table)
        if (std::strcmp(table->name, name) == 0) return table->value;
    return VRN_NAME_UNKNOWN;
}

const vrn_name_value_t vrn_match_type_names[] = {
    {0, "exact"}, {1, "wildcard"}, {2, "regexp"}, {3, "contains"}, {VRN_NAME_UNKNOWN, nullptr},
};

const char *vrn_match_type_name(std::uint32_t value) {
    return vrn_value_to_name(vrn_match_type_names, value);
}

std::uint32_t vrn_match_type_from_name(const char *name) {
    return vrn_name_to_value(vrn_match_type_names, name);
}
