// What a salvaged file is made of.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <string_view>

#include "data/schema_id.h"
#include "utils/byte_reader.h"
#include "vrn_check/fault_text.h"

namespace vrn::check {

// The kind of bytes that were not kept.
inline constexpr std::string_view left_out = "left_out";

// The kind of an id that another took the place of.
inline constexpr std::string_view schema_replaced = "schema_replaced";

// What may stand in one chunk together, and what stands alone.
enum class ChunkKind : std::uint8_t { events, pages, metrics, counters, blob };

struct KeptBlock {
    ChunkKind kind;
    Bytes bytes;                    // valid until the call returns
    std::uint64_t offset;           // in the input, decompressed
    std::size_t room;               // bytes that the chunk must have from its first byte on
    bool is_as_found;               // not made anew from what was left of it
    bool follows_directly = false;  // no byte lies between it and the block before
};

// Where the whole blocks of an input go, and what is left out of it.
struct KeptBlocks {
    std::function<void(const KeptBlock &)> take;
    std::function<void(FileFault)> leave_out;
};

// Tells of the schema id that stood at `offset`, unless it is `now` still. Zeros name none.
void tell_replaced(const vrn_schema_id_t &had, const vrn_schema_id_t &now, std::uint64_t offset,
                   const std::function<void(FileFault)> &tell);

// The times of blocks, in microseconds since the epoch; 0 is no time.
struct TimeSpan {
    std::uint64_t first = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t last = 0;

    void add(std::uint64_t time) {
        if (time == 0) return;
        first = std::min(first, time);
        last = std::max(last, time);
    }
    bool has(std::uint64_t time) const { return first <= time && time <= last; }
    void add(const TimeSpan &other) {
        first = std::min(first, other.first);
        last = std::max(last, other.last);
    }
};

}  // namespace vrn::check
