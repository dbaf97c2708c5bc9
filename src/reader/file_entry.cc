#include "reader/file_entry.h"

#include <algorithm>
#include <compare>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

#include "reader/input_file.h"
#include "utils/log.h"

namespace {

// Order of two entries by one key.
std::strong_ordering compare_by(vrn_sort_key_t key, const vrn_file_entry_t &a,
                                const vrn_file_entry_t &b) {
    switch (key) {
        case VRN_SORT_SOURCE_ID:
            return std::strcmp(a.source_id, b.source_id) <=> 0;
        case VRN_SORT_SOURCE_TAG:
            return std::strcmp(a.source_tag, b.source_tag) <=> 0;
        case VRN_SORT_FIRST_TIMESTAMP:
            return a.first_timestamp <=> b.first_timestamp;
    }
    return std::strong_ordering::equal;
}

bool stands_before(const vrn_file_entry_t &a, const vrn_file_entry_t &b,
                   const vrn_sort_order_t *order) {
    for (std::int32_t i = 0; i < order->num_keys; ++i) {
        const std::strong_ordering result = compare_by(order->keys[i], a, b);
        if (result != std::strong_ordering::equal) return result < 0;
    }
    return false;
}

void choose_order(const char *text, vrn_sort_order_t *order) {
    if (!text || !*text) {
        VRN_LOG(VRN_LOG_INFO, "Sort order not specified. Using default.");
        vrn_sort_order_set_default(order);
        return;
    }
    if (vrn_sort_order_parse(text, order)) return;
    VRN_LOG(VRN_LOG_WARNING, "Invalid sort order string '%s'. Using default.", text);
    vrn_sort_order_set_default(order);
}

// A header text that fills its field has no terminator.
template <std::size_t N>
bool copy_text(char (&to)[N], const char (&from)[N]) {
    return std::snprintf(to, N, "%.*s", static_cast<int>(N), from) >= 0;
}

bool fill_entry(vrn_file_entry_t *entry, const char *path, const vrn_reader_options_t *options) {
    vrn_data_file_header_t header{};
    if (!vrn::reader::read_file_header(path, *options, &header)) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to read file header: %s", path);
        return false;
    }
    if (!copy_text(entry->source_id, header.source_id)) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to copy source_id");
        return false;
    }
    if (!copy_text(entry->source_tag, header.source_tag)) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to copy source_tag");
        return false;
    }
    entry->first_timestamp = header.first_timestamp;
    entry->path = strdup(path);
    if (!entry->path) VRN_LOG(VRN_LOG_ERROR, "Failed to allocate memory for file entries");
    return entry->path != nullptr;
}

bool fill_entries(vrn_file_entry_t *entries, const vrn_reader_options_t *options) {
    const vrn_string_array_t *files = options->data_files;
    for (std::size_t i = 0; i < files->count; ++i)
        if (!fill_entry(&entries[i], files->strings[i], options)) return false;
    return true;
}

}  // namespace

void vrn_file_entries_sort(vrn_file_entry_t *entries, std::size_t count,
                           const vrn_sort_order_t *order) {
    const std::span<vrn_file_entry_t> all(entries, count);
    for (const vrn_file_entry_t &entry : all)
        VRN_LOG(VRN_LOG_DEBUG, "before sort: %s \u2192 source_id = %s | source_tag = %s | ts = %lu",
                entry.path, entry.source_id, entry.source_tag, entry.first_timestamp);
    // Not stable: files that all keys call alike come in any order.
    std::sort(all.begin(), all.end(),
              [order](const auto &a, const auto &b) { return stands_before(a, b, order); });
    for (const vrn_file_entry_t &entry : all)
        VRN_LOG(VRN_LOG_DEBUG, "after sort:  %s \u2192 source_id = %s | source_tag = %s | ts = %lu",
                entry.path, entry.source_id, entry.source_tag, entry.first_timestamp);
}

vrn_file_entry_t *vrn_file_entries_load(const vrn_reader_options_t *options) {
    const std::size_t count = options->data_files->count;
    // At least one, so that null always means failure.
    auto *entries = static_cast<vrn_file_entry_t *>(
        std::calloc(std::max<std::size_t>(count, 1), sizeof(vrn_file_entry_t)));
    if (!entries) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate memory for file entries");
        return nullptr;
    }
    if (!fill_entries(entries, options)) {
        vrn_file_entries_free(entries, count);
        return nullptr;
    }
    vrn_sort_order_t order{};
    choose_order(options->sort_order, &order);
    vrn_file_entries_sort(entries, count, &order);
    return entries;
}

void vrn_file_entries_free(vrn_file_entry_t *entries, std::size_t count) {
    if (!entries) return;
    for (const vrn_file_entry_t &entry : std::span(entries, count)) std::free(entry.path);
    std::free(entries);
}
