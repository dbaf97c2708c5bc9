#include "vrn_chart/metrics_input.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "data/block.h"
#include "data/compressed_page.h"
#include "data/data_file_header.h"
#include "metrics/store/metrics_feed.h"
#include "scan/byte_source.h"
#include "utils/byte_reader.h"
#include "utils/c_ptr.h"
#include "utils/log.h"

namespace vrn::chart {
namespace {

using metrics::MetricsHistory;

constexpr std::uint32_t max_block_size = 1 << 27;

bool fail(const std::string &path, const std::string &what) {
    VRN_LOG(VRN_LOG_ERROR, "%s: %s", path.c_str(), what.c_str());
    return false;
}

vrn_block_type_t kind_of(Bytes rest) {
    return rest.size() < VRN_MAGIC_SIZE ? VRN_UNKNOWN_BLOCK : vrn_block_type_of(rest.data());
}

// These return what is wrong, null when nothing is.

const char *store_blocks(Bytes blocks, MetricsHistory *store) {
    const vrn_block_type_t kind = kind_of(blocks);
    if (kind == VRN_UNKNOWN_BLOCK) return "holds a block of unknown type";
    if (kind != VRN_CNTX_BLOCK) return nullptr;
    const metrics::FeedResult result = metrics::feed_cntx_blocks(blocks, nullptr, store);
    if (result.blocks > 0 && result.incomplete == 0) return nullptr;
    return "not all of its metrics could be taken";
}

// Pages stand back to back; what follows the last whole one is padding.
const char *store_pages(Bytes chunk, MetricsHistory *store) {
    const char *fault = nullptr;
    while (kind_of(chunk) == VRN_PAGE_BLOCK) {
        const std::size_t page_size = vrn_compressed_page_whole_size(chunk);
        if (page_size == 0) return fault;
        std::uint64_t size = 0;
        const CPtr<void, std::free> payload(
            vrn_compressed_page_decode_alloc(chunk.data() + VRN_MAGIC_SIZE, &size));
        const Bytes blocks(static_cast<const std::uint8_t *>(payload.get()), payload ? size : 0);
        if (!payload)
            fault = "holds a damaged page";
        else if (const char *damage = blocks.empty() ? nullptr : store_blocks(blocks, store))
            fault = damage;
        chunk = chunk.subspan(page_size);
    }
    return fault;
}

const char *store_chunk(Bytes chunk, MetricsHistory *store) {
    return kind_of(chunk) == VRN_PAGE_BLOCK ? store_pages(chunk, store)
                                            : store_blocks(chunk, store);
}

// All chunks are stored, also after a faulty one, which the next ones don't depend on.
bool store_chunks(const std::string &path, std::uint32_t block_size, ByteSource *source,
                  MetricsHistory *store) {
    // Not cleared: a false size takes no memory.
    const auto chunk = std::make_unique_for_overwrite<std::uint8_t[]>(block_size);
    const char *fault = nullptr;
    while (source->state() == ByteSource::State::open) {
        const std::size_t size = source->read(chunk.get(), block_size);
        const char *new_fault = size > 0 ? store_chunk({chunk.get(), size}, store) : nullptr;
        if (new_fault) fault = new_fault;
    }
    if (source->state() == ByteSource::State::cut_short)
        VRN_LOG(VRN_LOG_WARNING, "Data file %s is cut short: its gzip stream has no end",
                path.c_str());
    if (source->state() == ByteSource::State::failed)
        return fail(path, std::string("can't be read to its end: ") + source->error_text());
    return !fault || fail(path, fault);
}

}  // namespace

bool read_metrics(const std::string &path, MetricsHistory *store) {
    const auto source = ByteSource::open_path(path.c_str());
    if (!source) return fail(path, std::string("can't be opened: ") + std::strerror(errno));
    vrn_data_file_header_t header{};
    if (source->read(&header, sizeof header) != sizeof header)
        return fail(path, source->state() == ByteSource::State::failed
                              ? std::string("can't be read: ") + source->error_text()
                              : "holds no data file header");
    if (!vrn_data_file_header_validate(&header)) return fail(path, "is no data file");
    if (header.block_size < VRN_MAGIC_SIZE || header.block_size > max_block_size)
        return fail(path, "has a block size out of range");
    try {
        return store_chunks(path, header.block_size, source.get(), store);
    } catch (const metrics::StoreFull &) {
        return fail(path,
                    "holds more series than there is room for; fewer samples of each leave more "
                    "room");
    }
}

}  // namespace vrn::chart
