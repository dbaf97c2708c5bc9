// Where data comes from: the name of its source and the tag of the data within the source.
#pragma once

#include <cstddef>
#include <cstdlib>

#include "utils/c_ptr.h"

inline constexpr std::size_t VRN_SOURCE_NAME_SIZE = 64;
inline constexpr std::size_t VRN_SOURCE_TAG_SIZE = 16;

// Both texts are NUL-padded and have no terminator when full; part of the page header.
struct vrn_source_t {
    char source[VRN_SOURCE_NAME_SIZE];
    char tag[VRN_SOURCE_TAG_SIZE];
};
static_assert(sizeof(vrn_source_t) == 80);
static_assert(offsetof(vrn_source_t, tag) == 64);

// Fills the VRN_SOURCE_NAME_SIZE bytes at `buffer`, zero-padded, with `name` or, when that is null,
// with VRN_SOURCE_ID or, when that is unset, with the host's name. A text is cut to 63 characters.
// False after one line when there is no host name.
[[nodiscard]] bool vrn_source_get_id(char *buffer, const char *name);

// A new record with at most 63 characters of `name` and 15 of `tag`; ends with free(). Null: out of
// memory.
[[nodiscard]] vrn_source_t *vrn_source_create(const char *name, const char *tag);
using vrn_source_ptr = vrn::CPtr<vrn_source_t, std::free>;

// A new record with the name that vrn_source_get_id gives without one. Null also when it gives
// none.
[[nodiscard]] vrn_source_t *vrn_source_create_default(const char *tag);

void vrn_source_copy(vrn_source_t *to, const vrn_source_t *from);

// Order by `source`, then by `tag`: negative, 0 or positive. A full `source` runs on into `tag`.
int vrn_source_compare(const vrn_source_t *a, const vrn_source_t *b);

// The 64 bytes of `source` and a terminator; the caller frees it. Null: out of memory.
[[nodiscard]] char *vrn_source_name_dup(const vrn_source_t *source);

// Writes "source:tag" and a terminator to the `size` bytes at `buffer`. False after a level 7 line
// when they don't fit, with nothing written.
[[nodiscard]] bool vrn_source_to_string(const vrn_source_t *source, char *buffer, std::size_t size);
