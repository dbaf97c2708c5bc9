// Data pages: a header in front of an area of blocks, on the heap or in shared memory.
#pragma once

#include <cstddef>
#include <cstdint>

#include "data/data_page_header.h"
#include "utils/c_ptr.h"

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
