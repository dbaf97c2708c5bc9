#include "vrn_check/metrics_repair.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <vector>

#include "metrics/section_mark.h"
#include "scan/metrics_walk.h"
#include "vrn_check/block_finder.h"

namespace vrn::check {
namespace {

constexpr std::size_t size_at = 4;  // of the block's own size

struct Extent {
    std::size_t begin, size;
};

std::string text_of(Bytes bytes) {
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

void set_size(std::string *block) {
    const auto size = static_cast<std::uint32_t>(block->size());
    std::memcpy(block->data() + size_at, &size, sizeof size);
}

// The extents of records that don't hold, in order. False when it isn't records that don't.
bool find_bad_records(const std::string &block, std::vector<Extent> *bad, TimeSpan *times) {
    bool is_of_records = true;
    const std::size_t end = block.size() - metrics::TRAILER.size();
    scan::MetricsWalk walk(
        {.tables = [](const scan::MetricsTables &) { return true; },
         .record = [&](std::size_t,
                       const metrics::RecordView &record) { times->add(record.timestamp); },
         .fault =
             [&](std::size_t offset, std::size_t lost, std::string_view kind, const std::string &) {
                 is_of_records &= kind == "metrics_names" || kind == "metrics_record";
                 // A record that is cut out must not take the trailer with it.
                 bad->push_back({offset, std::min(lost, end - std::min(offset, end))});
             }});
    walk.walk(bytes_of(block));
    return is_of_records;
}

bool has_records(const std::string &block) {
    metrics::CntxBlockView view;
    view.read(bytes_of(block), bytes_of(block));
    return view.records.end_offset > sizeof view.records.blocksize;
}

// Where the block ends by its size or, where that lies, by its trailer. A block without one is cut.
std::string framed(Bytes bytes, std::size_t *size) {
    *size = whole_metrics_size(bytes);
    if (*size != 0) return text_of(bytes.first(*size));
    const Bytes trailer = metrics::find_mark(bytes, metrics::TRAILER);
    *size = bytes.size() - trailer.size() + std::min(trailer.size(), metrics::TRAILER.size());
    std::string block = text_of(bytes.first(*size));
    if (trailer.empty()) block += metrics::TRAILER;
    set_size(&block);
    return block;
}

}  // namespace

RepairedMetrics repair_metrics(Bytes bytes) {
    RepairedMetrics repaired;
    std::string block = framed(bytes, &repaired.size);
    std::vector<Extent> bad;
    if (!find_bad_records(block, &bad, &repaired.times)) return repaired;
    repaired.is_as_found = bad.empty() && whole_metrics_size(bytes) != 0;
    if (!bad.empty()) {
        // From the last one back, so that the offsets of the others hold.
        for (auto extent = bad.rbegin(); extent != bad.rend(); ++extent)
            block.erase(extent->begin, extent->size);
        set_size(&block);
        bad.clear();
        repaired.times = {};
        // Not tried again: what doesn't hold now isn't kept.
        if (!find_bad_records(block, &bad, &repaired.times) || !bad.empty()) return repaired;
    }
    if (repaired.is_as_found || has_records(block)) repaired.block = std::move(block);
    return repaired;
}

}  // namespace vrn::check
