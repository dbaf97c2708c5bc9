// Where data comes from: the name of its source and the tag of the data within the source.
#pragma once

#include <cstddef>

inline constexpr std::size_t VRN_SOURCE_NAME_SIZE = 64;
inline constexpr std::size_t VRN_SOURCE_TAG_SIZE = 16;

// Both texts are NUL-padded and have no terminator when full; part of the page header.
struct vrn_source_t {
    char source[VRN_SOURCE_NAME_SIZE];
    char tag[VRN_SOURCE_TAG_SIZE];
};
static_assert(sizeof(vrn_source_t) == 80);
static_assert(offsetof(vrn_source_t, tag) == 64);
