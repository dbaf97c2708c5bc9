// Pages in POSIX shared memory, which other processes may write, shrink or unlink at any moment.
//
// What such a process does must not harm this one, so three rules hold:
// - The size of a mapping, the name of its object and whether this process created it are kept
//   privately per mapping. The header's copies of them decide nothing.
// - No mapping is made over more bytes than its object has.
// - A process that reads a page another one writes takes vrn_data_page_snapshot
// (data/page_snapshot.h) and works on that:
//   the kernel does the copying, so a part that the object lost since fails the copy instead of
//   raising a signal, and the header's sizes are checked against the mapping once, on the copy.
// A mapping lasts until vrn_data_page_free, also when its creator ends or unlinks the object.
//
// Who fills a shared page through its address trusts its peers not to shrink the object: plain
// stores can't be guarded but by a handler of SIGBUS, which belongs to the program and not to a
// library. Who does not trust them fills a regular page and hands it to vrn_data_page_publish.
#pragma once

#include <cstdint>

#include "data/data_page_header.h"

// Forms the object's name from `memory`, stores it there, and maps it as vrn_allocate_shared_mem
// does. 0, or -1 after a line.
[[nodiscard]] int vrn_allocate_shared_page(vrn_page_memory_t *memory, std::uint64_t size,
                                           vrn_data_page_t **page, std::int32_t *creator_pid);

// Maps `size` bytes of the object `name`; `page` ends with vrn_data_page_free. An object that
// exists is taken as it is, and `creator_pid` is -1; one of fewer than `size` bytes is refused.
// Otherwise it is created, zeroed and open to all users, and `creator_pid` is this process.
// 0, or -1 after a line with a null page.
[[nodiscard]] int vrn_allocate_shared_mem(const char *name, std::uint64_t size,
                                          vrn_data_page_t **page, std::int32_t *creator_pid);

// True when `page` is a mapping made here. Reads nothing of the page.
bool vrn_data_page_is_shared(const vrn_data_page_t *page);

// Bytes of the mapping at `page`; 0 when there is none.
std::uint64_t vrn_shared_page_size(const vrn_data_page_t *page);

// Ends the mapping at `page`, of which there is one. The name goes with it when both the private
// record and the page's header tell that this process created the object, or an earlier process of
// this user and pid.
void vrn_shared_page_free(vrn_data_page_t *page);

// Tells that regular memory stands at `page` now, where a mapping may have been that was not ended
// by vrn_data_page_free.
void vrn_shared_page_forget(const vrn_data_page_t *page);
