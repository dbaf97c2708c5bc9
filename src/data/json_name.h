// What JSON output needs to know of a field's or counter's name, found out once.
#pragma once

#include <cstddef>

#include "utils/c_ptr.h"

struct vrn_json_name_t {
    bool is_guid_word;     // see vrn_name_is_guid_word
    bool contains_guid;    // see vrn_name_contains_guid
    std::size_t key_size;  // bytes of `key`
    // Owned: the name as a JSON string and a colon. Its storage is zeros up to the next multiple of
    // VRN_JSON_KEY_STEP, so that it can be copied in steps.
    char *key;
};

inline constexpr std::size_t VRN_JSON_KEY_STEP = 32;

// Null when out of memory or `name` is null.
vrn_json_name_t *vrn_json_name_create(const char *name);
void vrn_json_name_destroy(vrn_json_name_t *name);  // accepts null
using vrn_json_name_ptr = vrn::CPtr<vrn_json_name_t, vrn_json_name_destroy>;
