#include "vrn_chart/metrics_input.h"

#include <zlib.h>

#include <cstdlib>
#include <memory>

#include "data/block.h"
#include "data/compressed_page.h"
#include "data/data_file_header.h"
#include "metrics/metrics_parser.h"
#include "utils/byte_reader.h"
#include "utils/c_ptr.h"
#include "utils/log.h"

namespace vrn::chart {
namespace {

using metrics::MetricsHistory;
using metrics::VrnMetricsParser;

constexpr std::uint32_t max_block_size = 1 << 27;

void close_file(gzFile_s *file) {
    gzclose(file);
}

using File = CPtr<gzFile_s, close_file>;

bool fail(const std::string &path, const char *what) {
    VRN_LOG(VRN_LOG_ERROR, "%s: %s", path.c_str(), what);
    return false;
}

bool is_block(Bytes rest, vrn_block_type_t kind) {
    return rest.size() >= VRN_MAGIC_SIZE && vrn_block_type_of(rest.data()) == kind;
}

void store_blocks(Bytes blocks, MetricsHistory *store) {
    if (is_block(blocks, VRN_CNTX_BLOCK))
        VrnMetricsParser::parse_cntx_blocks_into_store(blocks, nullptr, store);
}

// A gzip stream that stops short reads like one at its end.
bool is_cut(gzFile file) {
    int error = Z_OK;
    gzerror(file, &error);
    return error == Z_BUF_ERROR;
}

// Pages stand back to back; what follows the last whole one is padding.
bool store_pages(Bytes chunk, MetricsHistory *store) {
    while (is_block(chunk, VRN_PAGE_BLOCK)) {
        const std::size_t page_size = vrn_compressed_page_whole_size(chunk);
        if (page_size == 0) return true;
        std::uint64_t size = 0;
        const CPtr<void, std::free> payload(
            vrn_compressed_page_decode_alloc(chunk.data() + VRN_MAGIC_SIZE, &size));
        if (!payload) return false;
        store_blocks({static_cast<const std::uint8_t *>(payload.get()), size}, store);
        chunk = chunk.subspan(page_size);
    }
    return true;
}

// Returns what is wrong, null when nothing is.
const char *store_chunk(Bytes chunk, MetricsHistory *store) {
    try {
        if (is_block(chunk, VRN_PAGE_BLOCK))
            return store_pages(chunk, store) ? nullptr : "holds a damaged page";
        store_blocks(chunk, store);
        return nullptr;
    } catch (const metrics::StoreFull &) {
        return "holds more series than there is room for; fewer samples of each leave more room";
    }
}

}  // namespace

bool read_metrics(const std::string &path, MetricsHistory *store) {
    const File file(gzopen(path.c_str(), "rb"));
    if (!file) return fail(path, "can't be opened");
    vrn_data_file_header_t header{};
    if (gzread(file.get(), &header, sizeof header) != static_cast<int>(sizeof header))
        return fail(path, "holds no data file header");
    if (!vrn_data_file_header_validate(&header)) return fail(path, "is no data file");
    if (header.block_size < VRN_MAGIC_SIZE || header.block_size > max_block_size)
        return fail(path, "has a block size out of range");

    // Not cleared: a false size takes no memory.
    const auto chunk = std::make_unique_for_overwrite<std::uint8_t[]>(header.block_size);
    for (;;) {
        const int count = gzread(file.get(), chunk.get(), header.block_size);
        if (count < 0 || (count == 0 && is_cut(file.get())))
            return fail(path, "can't be read to its end");
        if (count == 0) return true;
        const char *fault = store_chunk({chunk.get(), static_cast<std::size_t>(count)}, store);
        if (fault) return fail(path, fault);
    }
}

}  // namespace vrn::chart
