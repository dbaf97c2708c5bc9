// What JSON output needs to know of a field's or counter's name, found out once.
#pragma once

#include <cstddef>

struct vrn_json_name_t {
    bool is_guid_word;     // see vrn_name_is_guid_word
    bool contains_guid;    // see vrn_name_contains_guid
    std::size_t key_size;  // bytes of `key`
    // Owned: a comma, the name as a JSON string and a colon. VRN_JSON_KEY_STEP bytes after it may
    // be read, so that it can be copied in steps.
    char *key;
};

inline constexpr std::size_t VRN_JSON_KEY_STEP = 32;

// False: out of memory; `name` is left empty.
[[nodiscard]] bool vrn_json_name_init(vrn_json_name_t *name, const char *text);
void vrn_json_name_clear(vrn_json_name_t *name);
