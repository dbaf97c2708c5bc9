// Data page: the 720-byte header in front of an area of blocks, on the heap or in shared memory.
// Byte layout: docs/format.md, "Page header".
#pragma once

#include <cstddef>
#include <cstdint>

#include "data/schema_id.h"
#include "utils/c_ptr.h"
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

// An empty page of `size` bytes in all; `memory.type` says where. `block_size` 0 stands for all of
// the data area. A size that leaves less than one block is refused; one below the header's size is
// not, deliberately. Ends with vrn_data_page_free. Null after a line.
// A shared object that existed keeps what its header says of timestamps, schema and source, but
// is an empty page from then on; to look at it as it is, map it with vrn_allocate_shared_page.
[[nodiscard]] vrn_data_page_t *vrn_data_page_allocate(std::uint32_t block_size, std::uint64_t size,
                                                      vrn_page_memory_t memory);

// Ends a page of either kind; the creator of a shared one also unlinks its object. Accepts null.
void vrn_data_page_free(vrn_data_page_t *page);
using vrn_data_page_ptr = vrn::CPtr<vrn_data_page_t, vrn_data_page_free>;

// The functions from here on read the page in place: of a shared page that another process
// writes, pass the snapshot of data/shared_page.h. Timestamps are microseconds since the epoch.

void vrn_data_page_set_first_ts(vrn_data_page_t *page);    // to now; accepts null
void vrn_data_page_update_last_ts(vrn_data_page_t *page);  // to now
std::uint64_t vrn_data_page_get_last_ts(const vrn_data_page_t *page);
// The present time, after a line, when it is unset.
std::uint64_t vrn_data_page_get_first_ts(const vrn_data_page_t *page);

// Where the free space begins and its bytes; null and 0 when there is none. Of a shared page whose
// `page_size` is beyond its mapping the same, after a line.
void vrn_data_page_get_free_space(vrn_data_page_t *page, void **space, std::uint64_t *size);

// Counts `size` bytes of the free space as filled. A page that is already beyond its end logs a
// line; the bytes are added all the same.
void vrn_data_page_consume_free_space(vrn_data_page_t *page, std::uint64_t size);

// A blob page holds one blob block and tells so by its schema id; `filled_bytes` stays at the
// header's size, so that it never counts as a page with data.
bool vrn_data_page_is_blob(const vrn_data_page_t *page);
void vrn_data_page_set_blob(vrn_data_page_t *page);

// A new regular page with `size` bytes of `data` as its blob, stamped with the present time. Ends
// with vrn_data_page_free. Null after a line.
[[nodiscard]] vrn_data_page_t *vrn_blob_data_page_create(const vrn_source_t *source,
                                                         const void *data, std::uint64_t size);
