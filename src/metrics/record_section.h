// The record section of a CNTX block and the walk over its records.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "utils/byte_reader.h"
#include "utils/log.h"

namespace vrn::metrics {

struct RecordSection {
    Bytes base;                   // from the blocksize to the end of the block
    std::size_t end_offset = 0;   // of the records, counted from `base`
    std::uint32_t blocksize = 0;  // bounds the labels of a record, counted from its start
};

// The section that the first "CNTD" of `range` starts; it ends with the range. `closing_mark` is
// what the last 8 bytes must begin with. Throws std::runtime_error.
RecordSection find_record_section(Bytes range, std::string_view closing_mark);

// The bytes in which the labels block of `record` stands.
inline Bytes labels_data_of(Bytes record, const RecordSection &section) {
    return record.first(std::min<std::size_t>(section.blocksize, record.size()));
}

// Calls `parse_record` with the bytes from each record on; it returns how many of them the record
// takes, which is more than 0.
template <typename ParseRecord>
void walk_records(const RecordSection &section, ParseRecord parse_record) {
    for (std::size_t offset = sizeof section.blocksize; offset < section.end_offset;) {
        VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] offset=%zu end=%zu", offset,
                section.end_offset);
        // Deliberate: a record that stops short makes the walk take the trailer for a record.
        offset += parse_record(section.base.subspan(offset));
    }
}

}  // namespace vrn::metrics
