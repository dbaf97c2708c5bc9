#include "utils/source_list.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <span>

#include "utils/log.h"

vrn_source_list_t *vrn_source_list_create() {
    return static_cast<vrn_source_list_t *>(std::calloc(1, sizeof(vrn_source_list_t)));
}

void vrn_source_list_free(vrn_source_list_t *list) {
    if (!list) return;
    for (vrn_source_t *source : std::span(list->items, list->count)) std::free(source);
    std::free(list->items);
    std::free(list);
}

bool vrn_source_list_add(vrn_source_list_t *list, vrn_source_t *source) {
    // The last index is VRN_SOURCE_NOT_FOUND, so the list ends one short of 16 bits.
    if (!source || list->count >= VRN_SOURCE_LIST_MAX) return false;
    const std::size_t count = list->count;
    // The block has room for the next power of two.
    if (count == 0 || std::has_single_bit(count)) {
        const std::size_t room = std::max<std::size_t>(1, 2 * count);
        void *grown = std::realloc(list->items, room * sizeof(void *));
        if (!grown) return false;
        list->items = static_cast<vrn_source_t **>(grown);
    }
    list->items[list->count++] = source;
    return true;
}

std::uint16_t vrn_source_list_index_of(const vrn_source_list_t *list, const vrn_source_t *source) {
    const std::span items(list->items, list->count);
    // By pointer: two entries with one name are two sources.
    const auto found = std::ranges::find(items, source);
    return found == items.end() ? VRN_SOURCE_NOT_FOUND
                                : static_cast<std::uint16_t>(found - items.begin());
}

void vrn_source_list_print(const vrn_source_list_t *list, const char *name) {
    for (std::size_t i = 0; i < list->count; ++i) {
        const vrn::CString source(vrn_source_name_dup(list->items[i]));
        if (source) VRN_LOG(VRN_LOG_DEBUG, "%s[%zu] = %s", name, i, source.get());
    }
}

vrn_source_list_t *vrn_source_list_create_default(const char *tag) {
    vrn_source_list_ptr list(vrn_source_list_create());
    vrn_source_ptr source(vrn_source_create_default(tag));
    if (!list || !vrn_source_list_add(list.get(), source.get())) return nullptr;
    static_cast<void>(source.release());  // to the list
    return list.release();                // to the caller
}
