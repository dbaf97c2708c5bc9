// How often each metric name occurs in CNTX blocks. The walk checks every step by itself, goes on
// after faults that end other walks, and stores nothing.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "utils/byte_reader.h"

namespace vrn::metrics {

using MetricCounts = std::unordered_map<std::string, std::uint64_t>;  // by metric name

// As VrnMetricsParser::count_metrics_from_cntx_blocks().
[[nodiscard]] bool count_metrics(Bytes range, MetricCounts *counts);

}  // namespace vrn::metrics
