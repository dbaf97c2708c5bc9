#include "data/data_page.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "data/block.h"
#include "data/shared_page.h"
#include "data/time.h"
#include "data/version.h"
#include "utils/guarded_copy.h"
#include "utils/log.h"
#include "vrn_version.h"

namespace {

constexpr std::uint64_t blob_overhead = VRN_DATA_PAGE_HEADER_SIZE + sizeof(vrn_blob_block_t);

vrn_data_page_t new_header(std::uint32_t block_size, std::uint64_t size,
                           const vrn_page_memory_t &memory) {
    vrn_data_page_t header{};
    header.version = vrn_version_parse(vrn_version_string());
    header.page_size = size;
    header.filled_bytes = VRN_DATA_PAGE_HEADER_SIZE;
    header.block_size =
        // 0 asks for one block that fills the page. The low 32 bits count when it is larger.
        block_size != 0 ? block_size : static_cast<std::uint32_t>(size - VRN_DATA_PAGE_HEADER_SIZE);
    header.memory = memory;
    return header;
}

vrn_data_page_t *allocate_regular(std::uint32_t block_size, std::uint64_t size,
                                  const vrn_page_memory_t &memory) {
    // A page may claim less than its header takes; the header has its room all the same.
    void *bytes = std::calloc(1, std::max<std::uint64_t>(size, VRN_DATA_PAGE_HEADER_SIZE));
    if (!bytes) return nullptr;
    VRN_LOG(VRN_LOG_DEBUG, "Allocating regular_page: size: %lu ptr=%p", size, bytes);
    auto *page = static_cast<vrn_data_page_t *>(bytes);
    // The address may have been that of a mapping that its owner unmapped without us.
    vrn_shared_page_forget(page);
    *page = new_header(block_size, size, memory);
    return page;
}

// Into an object that existed go only the fields of an empty page: timestamps of the first data,
// schema, source, creator and HCAs stay what another process made them.
bool store_in_existing(vrn_data_page_t *page, const vrn_data_page_t &header) {
    return vrn::guarded_copy(page, &header, offsetof(vrn_data_page_t, first_ts)) &&
           vrn::guarded_copy(&page->last_ts, &header.last_ts, sizeof header.last_ts) &&
           vrn::guarded_copy(&page->memory, &header.memory, sizeof header.memory);
}

vrn_data_page_t *allocate_shared(std::uint32_t block_size, std::uint64_t size,
                                 vrn_page_memory_t memory) {
    vrn_data_page_t *raw = nullptr;
    std::int32_t creator_pid = -1;
    if (vrn_allocate_shared_page(&memory, size, &raw, &creator_pid) != 0) return nullptr;
    // Unmapped again when a copy fails; the object stays for the processes that have it.
    vrn_data_page_ptr page(raw);
    vrn_data_page_t header = new_header(block_size, size, memory);
    header.creator_pid = creator_pid;
    // Guarded, for the object may have shrunk since it was mapped.
    const bool done = creator_pid > 0 ? vrn::guarded_copy(page.get(), &header, sizeof header)
                                      : store_in_existing(page.get(), header);
    return done ? page.release() : nullptr;  // to the caller
}

vrn_data_page_t *allocate(std::uint32_t block_size, std::uint64_t size,
                          const vrn_page_memory_t &memory) {
    switch (memory.type) {
        case VRN_PAGE_MEMORY_REGULAR:
            return allocate_regular(block_size, size, memory);
        case VRN_PAGE_MEMORY_SHARED:
            return allocate_shared(block_size, size, memory);
        default:
            errno = EINVAL;
            return nullptr;
    }
}

bool is_within_mapping(const vrn_data_page_t *page, std::uint64_t page_size) {
    const std::uint64_t mapped = vrn_shared_page_size(page);
    if (mapped == 0 || page_size <= mapped) return true;
    VRN_LOG(VRN_LOG_ERROR, "[data_page] Shared page of %lu bytes has only %lu mapped", page_size,
            mapped);
    return false;
}

}  // namespace

vrn_data_page_t *vrn_data_page_allocate(std::uint32_t block_size, std::uint64_t size,
                                        vrn_page_memory_t memory) {
    // A size below the header's wraps around and passes, deliberately.
    if (size - VRN_DATA_PAGE_HEADER_SIZE < block_size) {
        VRN_LOG(VRN_LOG_ERROR,
                "[data_page] Failed to allocate data page of size %zu which is less then header "
                "size %zu + block size %u",
                size, VRN_DATA_PAGE_HEADER_SIZE, block_size);
        return nullptr;
    }
    vrn_data_page_t *page = allocate(block_size, size, memory);
    if (!page)
        VRN_LOG(VRN_LOG_ERROR, "[data_page] Data page allocation failed: %s", std::strerror(errno));
    return page;
}

void vrn_data_page_free(vrn_data_page_t *page) {
    if (!page) return;
    if (vrn_data_page_is_shared(page)) {
        vrn_shared_page_free(page);
        return;
    }
    if (page->memory.type == VRN_PAGE_MEMORY_REGULAR) {
        VRN_LOG(VRN_LOG_DEBUG, "Freeing regular_page: size: %lu ptr=%p", page->page_size,
                static_cast<void *>(page));
        std::free(page);
    } else if (page->memory.type == VRN_PAGE_MEMORY_SHARED) {
        // No mapping of ours, so neither its size nor its name is to be trusted.
        VRN_LOG(VRN_LOG_ERROR, "Problem freeing shared-memory page");
    }
}

void vrn_data_page_set_first_ts(vrn_data_page_t *page) {
    if (!page) return;
    page->first_ts = vrn_time_now();
    VRN_LOG(VRN_LOG_DEBUG, "[data_page] set first_ts = %lu for page %p", page->first_ts,
            static_cast<void *>(page));
}

void vrn_data_page_update_last_ts(vrn_data_page_t *page) {
    page->last_ts = vrn_time_now();
    VRN_LOG(VRN_LOG_DEBUG, "[data_page] update last_ts = %lu for page %p", page->last_ts,
            static_cast<void *>(page));
}

std::uint64_t vrn_data_page_get_last_ts(const vrn_data_page_t *page) {
    return page->last_ts;
}

std::uint64_t vrn_data_page_get_first_ts(const vrn_data_page_t *page) {
    VRN_LOG(VRN_LOG_DEBUG, "[data_page] page %p, first_timestamp = %lu",
            static_cast<const void *>(page), page->first_ts);
    if (page->first_ts != 0) return page->first_ts;
    VRN_LOG(VRN_LOG_ERROR,
            "[data_page] going to return local timestamp rather than (correct) remote timestamp");
    return vrn_time_now();
}

void vrn_data_page_get_free_space(vrn_data_page_t *page, void **space, std::uint64_t *size) {
    *space = nullptr;
    *size = 0;
    // Read once each: another process may write them.
    const std::uint64_t page_size = page->page_size;
    const std::uint64_t filled_bytes = page->filled_bytes;
    if (filled_bytes >= page_size || !is_within_mapping(page, page_size)) return;
    *space = reinterpret_cast<std::uint8_t *>(page) + filled_bytes;
    *size = page_size - filled_bytes;
}

// The addition is made in any case: an overfull page shows in its header, not by what is missing.
void vrn_data_page_consume_free_space(vrn_data_page_t *page, std::uint64_t size) {
    if (page->filled_bytes > page->page_size)
        VRN_LOG(VRN_LOG_ERROR,
                "vrn_data_page_consume_free_space: page->filled_bytes > page->page_size  %lu %lu ",
                page->filled_bytes, page->page_size);
    page->filled_bytes += size;
}

bool vrn_data_page_is_blob(const vrn_data_page_t *page) {
    // A blob page has no filled bytes by design: writers of data must take it for an empty page.
    return page->page_size >= blob_overhead && page->filled_bytes == VRN_DATA_PAGE_HEADER_SIZE &&
           vrn_schema_id_is_blob(&page->schema_id);
}

void vrn_data_page_set_blob(vrn_data_page_t *page) {
    page->filled_bytes = VRN_DATA_PAGE_HEADER_SIZE;
    vrn_schema_id_set_blob(&page->schema_id);
}

vrn_data_page_t *vrn_blob_data_page_create(const vrn_source_t *source, const void *data,
                                           std::uint64_t size) {
    const vrn_page_memory_t memory = {VRN_PAGE_MEMORY_REGULAR, 0, "blob_data_page"};
    vrn_data_page_ptr page(vrn_data_page_allocate(0, size + blob_overhead, memory));
    if (!page) return nullptr;
    page->source = *source;
    page->first_ts = page->last_ts = vrn_time_now();
    vrn_data_page_set_blob(page.get());
    void *space = nullptr;
    std::uint64_t room = 0;
    vrn_data_page_get_free_space(page.get(), &space, &room);
    // The size of the page wrapped around when the data does not fit.
    if (room < sizeof(vrn_blob_block_t) || size > room - sizeof(vrn_blob_block_t)) return nullptr;
    auto *block = static_cast<vrn_blob_block_t *>(space);
    vrn_blob_block_init(block, page->first_ts, size);
    if (size > 0) std::memcpy(block + 1, data, size);
    return page.release();  // to the caller
}
