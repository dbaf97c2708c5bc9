#include "data/json_name.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "data/json_text.h"
#include "data/value_format.h"

namespace {

bool set_key(vrn_json_name_t *name, const char *text) {
    vrn::JsonText key(vrn::JsonLayout::compact);
    key.escaped(text);
    key.literal(":");
    name->key_size = key.view().size();
    const std::size_t steps = name->key_size / VRN_JSON_KEY_STEP + 1;
    name->key = static_cast<char *>(std::calloc(steps, VRN_JSON_KEY_STEP));
    if (name->key) std::ranges::copy(key.view(), name->key);
    return name->key != nullptr;
}

}  // namespace

vrn_json_name_t *vrn_json_name_create(const char *text) {
    if (!text) return nullptr;
    vrn_json_name_ptr name(static_cast<vrn_json_name_t *>(std::calloc(1, sizeof(vrn_json_name_t))));
    if (!name) return nullptr;
    name->is_guid_word = vrn_name_is_guid_word(text);
    name->contains_guid = vrn_name_contains_guid(text);
    try {
        return set_key(name.get(), text) ? name.release() : nullptr;  // to the caller
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void vrn_json_name_destroy(vrn_json_name_t *name) {
    if (!name) return;
    std::free(name->key);
    std::free(name);
}
