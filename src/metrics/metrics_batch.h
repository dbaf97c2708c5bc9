// Decoded records of a CNTX block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "metrics/encoded_label.h"

namespace vrn::metrics {

#pragma pack(push, 1)
// As in the stream. How to read the 64 bits of the value is told by its record.
struct MetricSample {
    std::uint16_t sample_id;  // index into the block's metric names
    std::uint64_t sample_value;
};
#pragma pack(pop)
static_assert(sizeof(MetricSample) == 10);

// Bytes of a record before its samples: length (u16), timestamp (u64), metric type (u8), value type
// (u8), number of samples (u16).
inline constexpr std::size_t RECORD_HEADER_SIZE = 14;
inline constexpr std::size_t RECORD_TIMESTAMP_OFFSET = 2;
inline constexpr std::size_t RECORD_METRIC_TYPE_OFFSET = 10;
inline constexpr std::size_t RECORD_VALUE_TYPE_OFFSET = 11;
inline constexpr std::size_t RECORD_NUM_SAMPLES_OFFSET = 12;

struct MetricsBatch {
    std::vector<MetricSample> samples;
    std::uint32_t reserved = 0;  // read by nobody
};

struct MetricRecord {
    std::uint64_t timestamp = 0;  // microseconds since the epoch
    MetricsBatch samples;
    std::vector<EncodedLabel> encoded_labels;
    std::uint64_t label_set_id = 0;
};

// Head and samples of a record as the store takes them.
struct StoreRecord {
    std::uint64_t timestamp = 0;    // microseconds since the epoch
    std::uint32_t metric_type = 0;  // 'C', 'G', or what tells that the record is invalid
    std::uint8_t value_type = 0;
    MetricsBatch samples;
};

}  // namespace vrn::metrics
