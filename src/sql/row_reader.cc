#include "sql/row_reader.h"

#include <algorithm>

#include "counters/counter_value.h"

namespace vrn::sql {
namespace {

// Bytes of a row that its counters reach: offsets may lie beyond the schema's own size.
std::uint64_t counters_extent(const vrn_counters_schema_t &schema) {
    std::uint64_t extent = 0;
    for (std::uint32_t i = 0; i < schema.num_groups; ++i)
        for (std::uint32_t j = 0; j < schema.groups[i]->num_counters; ++j) {
            const vrn_counter_info_t &counter = *schema.groups[i]->counters[j];
            extent = std::max(extent, std::uint64_t{counter.offset} + counter_size(counter));
        }
    return extent;
}

}  // namespace

void RowReader::stage(const StagedRows &rows) {
    if (rows.count == 0) return;
    if (!rows_.empty()) {
        StagedRows &last = rows_.back();
        const bool is_alike = last.layout == rows.layout && last.held == rows.held &&
                              last.names == rows.names && rows.count == 1;
        const auto step = static_cast<std::size_t>(rows.first - last.first);
        // Many collectors store a row a block: in equal steps they are one piece of work.
        // Rows of two buffers may be joined, too: a step only ever leads to an address that was
        // staged.
        if (is_alike && (last.count == 1 || step == last.count * last.stride) &&
            rows.first > last.first) {
            if (last.count == 1) last.stride = step;
            ++last.count;
            return;
        }
    }
    rows_.push_back(rows);
}

void EventReader::begin_piece() {
    RowReader::begin_piece();
    // Schemas may go between pieces, and others come to stand at their address.
    last_ = nullptr;
}

scan::Next EventReader::events(const scan::EventBatch &batch) {
    // The name is compared once for a run of batches, not for each.
    if (batch.type != last_) {
        last_ = batch.type;
        takes_last_ = batch.type->name && batch.type->name == type_;
    }
    if (takes_last_ && filter().takes(batch.header.timestamp) && takes_record(batch.place()))
        stage({batch.type, keep(batch.rows.data()), batch.type->size, batch.type->size, batch.count,
               names()});
    return scan::is_whole(batch) ? scan::Next::block : tell_missing(batch, batch.place());
}

void CounterReader::begin_piece() {
    RowReader::begin_piece();
    headers_.clear();
    last_ = nullptr;
}

scan::Next CounterReader::counters(const scan::CountersBlock &block) {
    // Groups may lie anywhere in the row, so a row that is cut is left out whole.
    if (!scan::is_whole(block)) return tell_missing(block, block.place);
    if (!filter().takes(block.header.timestamp) || !takes_record(block.place))
        return scan::Next::block;
    // As with events: once for each schema, for all of its groups are walked.
    if (block.schema != last_) {
        last_ = block.schema;
        extent_ = counters_extent(*last_);
    }
    constexpr std::size_t header_size = sizeof block.header;
    // What counters reach beyond the row reads as zeros; of the row, no more than they reach.
    const std::size_t held = header_size + std::min<std::size_t>(block.row.size(), extent_);
    // From the block's start, where its time is.
    const std::uint8_t *start =
        block.row.empty()
            ? reinterpret_cast<const std::uint8_t *>(&headers_.emplace_back(block.header))
            : keep(block.row.data() - header_size);
    stage({block.schema, start, held, held, 1, names()});
    return scan::Next::block;
}

}  // namespace vrn::sql
