// Fills a store from CNTX blocks; see also VrnMetricsParser::parse_cntx_blocks_into_store.
// Every operation exists for both storage policies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "metrics/metric_filter.h"
#include "metrics/store/typed_metrics_data.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

// Where a sample belongs.
struct SampleContext {
    const std::string &name;
    SeriesKey key;
    std::uint32_t metric_type;  // 'C', 'G' or 'U'
    std::uint64_t timestamp;    // microseconds since the epoch
};

// Stores a value given as 64 raw bits that `value_type` tells how to read. With a filter that skips
// unchanged values, one that equals the newest of its series is dropped. Throws nothing; false
// after a line when the value can't be stored. `filter` may be null.
template <typename Store>
[[nodiscard]] bool store_sample(std::uint32_t value_type, std::uint64_t value,
                                const SampleContext &sample, const MetricFilter *filter,
                                Store *store);

// Stores the histograms and samples of the block that fills `block`. `filter` may be null. Throws
// std::runtime_error when the block is malformed; what was stored before the fault stays.
template <typename Store>
void parse_cntx_block_into_store(Bytes block, const MetricFilter *filter, Store *store);

// What a range of blocks gave to a store.
struct FeedResult {
    Bytes rest;                  // after the last block
    std::size_t blocks = 0;      // not given up
    std::size_t incomplete = 0;  // given up, or without histograms or numbers that it holds
};

// VrnMetricsParser::parse_cntx_blocks_into_store for callers that must know of losses.
template <typename Store>
FeedResult feed_cntx_blocks(Bytes range, const MetricFilter *filter, Store *store);

}  // namespace vrn::metrics
