// Header of data pages, on the heap or in shared memory.
// Byte layout: docs/format.md, "Page header".
#pragma once

#include <cstddef>
#include <cstdint>

#include "data/schema_id.h"
#include "utils/hca_info.h"
#include "utils/source.h"

enum vrn_page_memory_type_t : std::uint32_t {
    VRN_PAGE_MEMORY_REGULAR = 0,
    VRN_PAGE_MEMORY_SHARED = 1,
};

inline constexpr std::size_t VRN_PAGE_MEMORY_NAME_SIZE = 60;
inline constexpr std::size_t VRN_PAGE_HCA_INFOS = 6;

struct vrn_page_memory_t {
    std::uint32_t type;  // vrn_page_memory_type_t
    std::int32_t id;     // makes the name of a shared page unique
    char name[VRN_PAGE_MEMORY_NAME_SIZE];
};

// Every process that maps a shared page sees these bytes, so their places are fixed.
struct vrn_data_page_t {
    std::uint32_t version;  // packed version of the library
    std::uint32_t reserved_4;
    std::uint64_t page_size;     // bytes, header included
    std::uint64_t filled_bytes;  // offset of the first free byte from the start of the page
    std::uint32_t block_size;    // bytes of a chunk of the file the data goes to
    std::uint32_t reserved_28;
    std::uint64_t first_ts;     // microseconds since the epoch; 0 when unset
    std::uint64_t last_ts;      // of the last data, in the unit of first_ts
    vrn_schema_id_t schema_id;  // of the page's blocks, or the reserved id of blobs
    vrn_source_t source;        // name and tag
    vrn_page_memory_t memory;
    std::int32_t creator_pid;  // only this process unlinks the shared object
    vrn_hca_info_t hca_info[VRN_PAGE_HCA_INFOS];
};

inline constexpr std::size_t VRN_DATA_PAGE_HEADER_SIZE = 720;

static_assert(sizeof(vrn_page_memory_t) == 68);
static_assert(sizeof(vrn_data_page_t) == VRN_DATA_PAGE_HEADER_SIZE);
static_assert(offsetof(vrn_data_page_t, version) == 0);
static_assert(offsetof(vrn_data_page_t, page_size) == 8);
static_assert(offsetof(vrn_data_page_t, filled_bytes) == 16);
static_assert(offsetof(vrn_data_page_t, block_size) == 24);
static_assert(offsetof(vrn_data_page_t, first_ts) == 32);
static_assert(offsetof(vrn_data_page_t, last_ts) == 40);
static_assert(offsetof(vrn_data_page_t, schema_id) == 48);
static_assert(offsetof(vrn_data_page_t, source) == 64);
static_assert(offsetof(vrn_data_page_t, source.tag) == 128);
static_assert(offsetof(vrn_data_page_t, memory) == 144);
static_assert(offsetof(vrn_data_page_t, memory.id) == 148);
static_assert(offsetof(vrn_data_page_t, memory.name) == 152);
static_assert(offsetof(vrn_data_page_t, creator_pid) == 212);
static_assert(offsetof(vrn_data_page_t, hca_info) == 216);
