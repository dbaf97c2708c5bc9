// Rows of an event block.
#pragma once

#include <algorithm>
#include <cstddef>

#include "data/block.h"
#include "data/schema/type_definition.h"
#include "utils/byte_reader.h"

namespace vrn {

// Number of whole rows of `type` that are there: `block` goes from the block's first byte, where
// `header` was read, to the end of the bytes that may hold them.
inline std::size_t count_event_rows(const vrn_type_definition_t &type,
                                    const vrn_event_header_t &header, Bytes block) {
    const std::size_t room = block.size() - std::min(block.size(), sizeof header);
    if (type.size > room) return 0;
    // Mostly all of them: no division then. 255 rows of at most `room` bytes don't overflow.
    const std::size_t claimed = header.num_events;
    return claimed * type.size <= room ? claimed : room / type.size;
}

}  // namespace vrn
