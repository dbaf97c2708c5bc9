// Growable array of owned strings in one heap block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "utils/c_ptr.h"

// Growing may move the block: operations that grow take the address of the caller's pointer.
struct vrn_string_array_t {
    std::uint64_t count;
    char *strings[];  // `count` owned heap strings
};

[[nodiscard]] vrn_string_array_t *vrn_string_array_create();  // empty; null: out of memory
void vrn_string_array_free(vrn_string_array_t *array);        // accepts null
using vrn_string_array_ptr = vrn::CPtr<vrn_string_array_t, vrn_string_array_free>;

// The strings, to walk over; none for a null array. Growing the array ends the view.
std::span<char *const> vrn_string_array_items(const vrn_string_array_t *array);

// Appends a copy of `text`. A null array is created. False for a null text or out of memory.
[[nodiscard]] bool vrn_string_array_append(vrn_string_array_t **array, const char *text);

// Appends copies of all strings of `other`, another array. False without enough room, the array
// then untouched; a string that can't be copied frees the whole array, and the caller's pointer is
// null.
[[nodiscard]] bool vrn_string_array_extend(vrn_string_array_t **array,
                                           const vrn_string_array_t *other);

bool vrn_string_array_contains(const vrn_string_array_t *array, const char *text);

// Logs each string at `level` as "name[index] = string".
void vrn_string_array_print(std::uint32_t level, const vrn_string_array_t *array, const char *name);

// Items between commas in the `length` bytes at `text`; empty items are dropped, nothing is
// trimmed. Null after an error line; an item of 1024 or more characters is one.
[[nodiscard]] vrn_string_array_t *vrn_string_array_from_csv(const char *text, std::size_t length);

// Removes repeats from a sorted array. An unsorted one is not supported: false after an error line.
[[nodiscard]] bool vrn_string_array_remove_duplicates(vrn_string_array_t **array, bool sorted);

// Appends the trimmed lines of a file that are neither empty nor begin with '#'. `kind` names the
// file in messages and may be null. False when the file can't be opened or read, or memory runs
// out.
[[nodiscard]] bool vrn_string_array_load_file(vrn_string_array_t **array, const char *path,
                                              const char *kind);
