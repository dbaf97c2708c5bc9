#include "utils/string_array.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string_view>

#include "utils/file_ptr.h"
#include "utils/log.h"
#include "utils/strings.h"

namespace {

// Longer items are refused rather than cut: a filter on half a name would select the wrong thing.
constexpr std::size_t csv_item_limit = 1024;

// Slots of a block with `count` strings. A power of two, so that appending one by one stays linear
// without a capacity field in the record.
std::size_t slots_for(std::size_t count) {
    return std::bit_ceil(count);
}

bool resize_block(vrn_string_array_t **array, std::size_t slots) {
    void *block = std::realloc(*array, sizeof(vrn_string_array_t) + slots * sizeof(char *));
    if (!block) return false;
    const bool is_new = *array == nullptr;
    *array = static_cast<vrn_string_array_t *>(block);
    if (is_new) (*array)->count = 0;
    return true;
}

bool reserve(vrn_string_array_t **array, std::size_t count) {
    const std::size_t slots = slots_for(count);
    if (*array && slots <= slots_for((*array)->count)) return true;
    return resize_block(array, slots);
}

// The array must have room for one more.
bool push_copy(vrn_string_array_t *array, std::string_view text) {
    char *copy = strndup(text.data(), text.size());
    if (copy) array->strings[array->count++] = copy;
    return copy != nullptr;
}

bool append_copy(vrn_string_array_t **array, std::string_view text) {
    return reserve(array, (*array ? (*array)->count : 0) + 1) && push_copy(*array, text);
}

// Owns the buffer that getline grows.
struct FileLine {
    char *text = nullptr;
    std::size_t capacity = 0;
    ~FileLine() { std::free(text); }
};

}  // namespace

vrn_string_array_t *vrn_string_array_create() {
    vrn_string_array_t *array = nullptr;
    return resize_block(&array, slots_for(0)) ? array : nullptr;
}

void vrn_string_array_free(vrn_string_array_t *array) {
    for (char *text : vrn_string_array_items(array)) std::free(text);
    std::free(array);
}

std::span<char *const> vrn_string_array_items(const vrn_string_array_t *array) {
    if (!array) return {};
    return {array->strings, array->count};
}

bool vrn_string_array_append(vrn_string_array_t **array, const char *text) {
    return text && append_copy(array, text);
}

bool vrn_string_array_extend(vrn_string_array_t **array, const vrn_string_array_t *other) {
    const auto added = vrn_string_array_items(other);
    if (!reserve(array, (*array ? (*array)->count : 0) + added.size())) return false;
    for (const char *text : added) {
        // Half an extension is of no use to a caller, who gets null and nothing to free.
        if (push_copy(*array, text)) continue;
        vrn_string_array_free(*array);
        *array = nullptr;
        return false;
    }
    return true;
}

bool vrn_string_array_contains(const vrn_string_array_t *array, const char *text) {
    return std::ranges::any_of(vrn_string_array_items(array),
                               [text](const char *item) { return std::strcmp(item, text) == 0; });
}

void vrn_string_array_print(std::uint32_t level, const vrn_string_array_t *array,
                            const char *name) {
    std::size_t index = 0;
    for (const char *text : vrn_string_array_items(array))
        VRN_LOG(level, "%s[%zu] = %s", name, index++, text);
}

vrn_string_array_t *vrn_string_array_from_csv(const char *text, std::size_t length) {
    vrn_string_array_t *array = vrn_string_array_create();
    if (!array) {
        VRN_LOG(VRN_LOG_ERROR, "Unable to create string array");
        return nullptr;
    }
    std::string_view rest(text, length);
    while (!rest.empty()) {
        const std::string_view item = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(item.size() + 1, rest.size()));
        if (item.empty()) continue;
        if (item.size() >= csv_item_limit || !append_copy(&array, item)) {
            VRN_LOG(VRN_LOG_ERROR, "Unable to append string");
            vrn_string_array_free(array);
            return nullptr;
        }
    }
    return array;
}

bool vrn_string_array_remove_duplicates(vrn_string_array_t **array, bool sorted) {
    if (!*array || (*array)->count == 0) return true;
    // Nothing calls for unsorted arrays; the message is what callers of this form get.
    if (!sorted) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] not implemented", __func__);
        return false;
    }
    char **strings = (*array)->strings;
    std::size_t kept = 1;
    for (char *text : vrn_string_array_items(*array).subspan(1)) {
        if (std::strcmp(text, strings[kept - 1]) == 0)
            std::free(text);
        else
            strings[kept++] = text;
    }
    (*array)->count = kept;
    // The block must shrink: its slots are told from the count.
    return resize_block(array, slots_for(kept));
}

bool vrn_string_array_load_file(vrn_string_array_t **array, const char *path, const char *kind) {
    if (kind) VRN_LOG(VRN_LOG_INFO, "Loading %s from %s", kind, path);
    const vrn::FilePtr file(std::fopen(path, "r"));
    if (!file) {
        VRN_LOG(VRN_LOG_INFO, "Could not open %s file %s: %s", kind ? kind : "", path,
                std::strerror(errno));
        return false;
    }
    FileLine line;
    while (getline(&line.text, &line.capacity, file.get()) >= 0) {
        const char *text = vrn_trim(line.text);
        // A comment is known after trimming, so it may be indented.
        if (*text == '\0' || *text == '#') continue;
        if (!vrn_string_array_append(array, text)) return false;
    }
    // getline ends for a read error and for lack of memory too.
    return std::feof(file.get()) != 0;
}
