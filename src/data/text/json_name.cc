#include "data/text/json_name.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "data/text/guid_name.h"
#include "data/text/json_string.h"

namespace {

bool set_key(vrn_json_name_t *name, const char *text) {
    vrn::TextBuffer key;
    key.append(',');
    vrn::append_json_string(text, &key);
    key.append(':');
    name->key_size = key.size();
    // One step more than the key ends in, for copies that begin after the comma.
    const std::size_t steps = name->key_size / VRN_JSON_KEY_STEP + 2;
    name->key = static_cast<char *>(std::calloc(steps, VRN_JSON_KEY_STEP));
    if (name->key) std::ranges::copy(key.view(), name->key);
    return name->key != nullptr;
}

}  // namespace

bool vrn_json_name_init(vrn_json_name_t *name, const char *text) {
    *name = {};
    name->is_guid_word = vrn_name_is_guid_word(text);
    name->contains_guid = vrn_name_contains_guid(text);
    try {
        return set_key(name, text);
    } catch (const std::bad_alloc &) {
        return false;
    }
}

void vrn_json_name_clear(vrn_json_name_t *name) {
    std::free(name->key);
    *name = {};
}
