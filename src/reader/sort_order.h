// By which header fields the input files are ordered.
#pragma once

#include <cstddef>
#include <cstdint>

enum vrn_sort_key_t : std::uint32_t {
    VRN_SORT_SOURCE_ID = 0,
    VRN_SORT_SOURCE_TAG = 1,
    VRN_SORT_FIRST_TIMESTAMP = 2,
};

inline constexpr std::size_t VRN_MAX_SORT_KEYS = 3;

// The first key decides, the next only breaks its ties; all sort ascending.
struct vrn_sort_order_t {
    vrn_sort_key_t keys[VRN_MAX_SORT_KEYS];
    std::int32_t num_keys;  // those in use
};

// First timestamp, then source, then tag.
void vrn_sort_order_set_default(vrn_sort_order_t *order);

// Reads up to three keywords between commas; blanks around them and empty ones don't count, and
// what follows the third is not looked at. False for null and, with no keys, for a text without
// keywords; false after one line for an unknown keyword, `num_keys` then untouched.
[[nodiscard]] bool vrn_sort_order_parse(const char *text, vrn_sort_order_t *order);
