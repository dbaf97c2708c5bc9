// Matching of names against lists of patterns.
#pragma once

#include <cstdint>

#include "utils/string_array.h"

// Ids of the table vrn_match_type_names.
enum vrn_filter_match_mode_t : std::uint32_t {
    VRN_MATCH_EXACT = 0,
    VRN_MATCH_WILDCARD = 1,  // fnmatch, case-insensitive; an item also matches with a dotted tail
    VRN_MATCH_REGEXP = 2,    // the name exists, but nothing matches in this mode
    VRN_MATCH_CONTAINS = 3,  // the item is a substring, case-sensitive
};

// Null, or all ones, for what the table doesn't hold.
const char *vrn_filter_match_mode_name(std::uint32_t mode);
std::uint32_t vrn_filter_match_mode_from_name(const char *name);

// True if any item of `patterns` matches; false for a null or empty array, and, after an error
// line, when out of memory.
bool vrn_string_array_match(const char *text, const vrn_string_array_t *patterns,
                            std::uint32_t mode);

// New array with each of `names`, in order, whose match result is `want`. Null: out of memory.
vrn_string_array_t *vrn_string_array_filter(const vrn_string_array_t *names,
                                            const vrn_string_array_t *patterns, std::uint32_t mode,
                                            bool want);

// New sorted array of the names that `include` matches and `exclude` doesn't, and of all items of
// `mandatory`; repeats go only if there are mandatory items. Null after an error line.
[[nodiscard]] vrn_string_array_t *vrn_match_counter_names(const vrn_string_array_t *names,
                                                          const vrn_string_array_t *include,
                                                          const vrn_string_array_t *exclude,
                                                          const vrn_string_array_t *mandatory,
                                                          std::uint32_t mode);
