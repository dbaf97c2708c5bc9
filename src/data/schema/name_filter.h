// Matchers of names: pattern lists, provider names, token filters.
#pragma once
#include <cstddef>
#include <cstdint>
#include "utils/string_array.h"

enum vrn_filter_match_mode_t : std::uint32_t {
    VRN_MATCH_EXACT = 0,
    VRN_MATCH_WILDCARD = 1,
    VRN_MATCH_REGEXP = 2,  // the name exists, but nothing matches in this mode
    VRN_MATCH_CONTAINS = 3,
};

// True if any item of `patterns` matches; false for a null or empty array.
bool vrn_string_array_match(const char *text, const vrn_string_array_t *patterns,
                            std::uint32_t mode);
// One token of the ^ and $ language against one text, case-insensitive.
bool vrn_filter_token_match(const char *text, const char *token);
