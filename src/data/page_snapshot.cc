#include "data/page_snapshot.h"

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "data/shared_page.h"
#include "utils/guarded_copy.h"
#include "utils/log.h"

namespace {

// Sizes that a header may have over `mapped` bytes; logs why not.
bool check_header(const vrn_data_page_t &header, std::uint64_t mapped) {
    if (header.page_size >= VRN_DATA_PAGE_HEADER_SIZE && header.page_size <= mapped &&
        header.filled_bytes >= VRN_DATA_PAGE_HEADER_SIZE && header.filled_bytes <= header.page_size)
        return true;
    VRN_LOG(VRN_LOG_ERROR,
            "[data_page] Shared page is refused: page_size %lu and filled_bytes %lu don't fit "
            "%lu mapped bytes",
            header.page_size, header.filled_bytes, mapped);
    return false;
}

// To or from a page of which `mapped` bytes were there once; logs that they no longer are.
bool copy_checked(void *to, const void *from, std::uint64_t size, std::uint64_t mapped) {
    if (vrn::guarded_copy(to, from, size)) return true;
    VRN_LOG(VRN_LOG_ERROR, "[data_page] Shared page is refused: its %lu mapped bytes are gone: %s",
            mapped, std::strerror(errno));
    return false;
}

}  // namespace

vrn_data_page_t *vrn_data_page_snapshot(const vrn_data_page_t *page) {
    const std::uint64_t mapped = vrn_shared_page_size(page);
    vrn_data_page_t header{};
    if (mapped < sizeof header) {
        VRN_LOG(VRN_LOG_ERROR, "[data_page] Shared page is refused: only %lu bytes are mapped",
                mapped);
        return nullptr;
    }
    if (!copy_checked(&header, page, sizeof header, mapped) || !check_header(header, mapped))
        return nullptr;
    header.memory.type = VRN_PAGE_MEMORY_REGULAR;
    vrn_data_page_ptr copy(vrn_data_page_allocate(0, header.page_size, header.memory));
    if (!copy) return nullptr;
    // The checked header, not what may stand there by now.
    *copy = header;
    if (!copy_checked(copy.get() + 1, page + 1, header.page_size - sizeof header, mapped))
        return nullptr;
    return copy.release();  // to the caller
}

bool vrn_data_page_publish(const vrn_data_page_t *page, vrn_data_page_t *shared) {
    const std::uint64_t mapped = vrn_shared_page_size(shared);
    return check_header(*page, mapped) &&
           copy_checked(shared + 1, page + 1, page->page_size - sizeof *page, mapped) &&
           copy_checked(shared->hca_info, page->hca_info, sizeof page->hca_info, mapped) &&
           // The leading fields last: filled_bytes is what tells a consumer that there is data.
           // Memory and creator stay those of the object.
           copy_checked(shared, page, offsetof(vrn_data_page_t, memory), mapped);
}
