// Input files of a sorted run, with the header fields that order them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "reader/reader_options.h"
#include "reader/sort_order.h"

struct vrn_file_entry_t {
    char source_id[64];             // terminated, so cut to 63 characters
    char source_tag[16];            // terminated, so cut to 15 characters
    std::uint64_t first_timestamp;  // microseconds since the epoch
    char *path;                     // owned
};
static_assert(sizeof(vrn_file_entry_t) == 96);

// Sorts in place. Entries that are equal by all keys come out in any order.
void vrn_file_entries_sort(vrn_file_entry_t *entries, std::size_t count,
                           const vrn_sort_order_t *order);

// Reads the headers of all `data_files` and sorts them by `sort_order`; one entry for each, in a
// block that ends with vrn_file_entries_free. Null after a line when any header can't be read.
[[nodiscard]] vrn_file_entry_t *vrn_file_entries_load(const vrn_reader_options_t *options);

// Frees the paths and the block; accepts null.
void vrn_file_entries_free(vrn_file_entry_t *entries, std::size_t count);
