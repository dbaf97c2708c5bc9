#include "vrn_check/hidden_blocks.h"

#include <algorithm>

#include "scan/block_walk.h"
#include "vrn_check/block_finder.h"

namespace vrn::check {

void HiddenBlocks::begin(const vrn_data_file_header_t &header) {
    times_.first = header.first_timestamp;
    times_.last = header.last_timestamp;
    if (times_.last == 0) times_.last = std::numeric_limits<std::uint64_t>::max();
}

std::size_t HiddenBlocks::in_block(Bytes run, std::size_t size) const {
    // All that tells a block lies in its head, which must not end in what comes after.
    if (size < VRN_MAGIC_SIZE + sizeof(vrn_event_header_t)) return 0;
    const std::size_t limit = size - sizeof(vrn_event_header_t) + 1;
    // Rows hardly ever hold the mark, and most files are sound.
    if (!has_block_mark(run.first(size).subspan(VRN_MAGIC_SIZE))) return 0;
    BlockFinder finder(run, &schemas_, texts_);
    const std::size_t at = finder.find_of_time(VRN_MAGIC_SIZE, limit, times_);
    return at < limit ? at : 0;
}

std::size_t HiddenBlocks::after_block(Bytes chunk, std::size_t size, std::uint64_t time) const {
    if (scan::is_all_zero(chunk.subspan(size))) return 0;
    BlockFinder finder(chunk, &schemas_, texts_);
    TimeSpan later = times_;
    // Where the header tells no times, that of a damaged block may be any.
    if (later.first != 0) later.first = std::max(later.first, time);
    const std::size_t at = finder.find_of_time(size, chunk.size(), later);
    return at < chunk.size() ? at : 0;
}

std::size_t HiddenBlocks::after_metrics(Bytes chunk) const {
    std::size_t end = 0;
    while (const std::size_t size = whole_metrics_size(chunk.subspan(end))) end += size;
    if (scan::is_all_zero(chunk.subspan(end))) return 0;
    const BlockFinder finder(chunk, &schemas_, texts_);
    const std::size_t next = finder.skip_zeros(end);
    return next > end && finder.kind_at(next) == VRN_CNTX_BLOCK ? next : 0;
}

std::size_t HiddenBlocks::in_page(Bytes page) const {
    BlockFinder finder(page, &schemas_, texts_);
    std::size_t at = finder.find_page(VRN_MAGIC_SIZE);
    while (at < page.size() && !finder.is_start(at)) at = finder.find_page(at + 1);
    return at < page.size() ? at : 0;
}

}  // namespace vrn::check
