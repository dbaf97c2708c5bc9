// A CNTX block as one JSON value.
#pragma once

#include <parson.h>

#include <vector>

#include "metrics/cntx_block_tables.h"
#include "metrics/metrics_batch.h"

namespace vrn::metrics {

// The JSON value of a block: "timestamp", "@timestamp", "labels" and "metrics" of its last record.
// Each record replaces the keys of those before it; a record with an unknown label set leaves the
// earlier "labels" standing. Without records the object is empty. "@timestamp" has microseconds or
// milliseconds. The value is the caller's; null after an error line, or silently when there is no
// memory for the first object.
[[nodiscard]] JSON_Value *metrics_to_json(const CntxBlockTables &tables,
                                          const std::vector<MetricRecord> &records,
                                          bool microsecond_precision);

// One object of one key for each label, in the order of the map. The array is the caller's; null
// when memory runs out or a text isn't UTF-8.
[[nodiscard]] JSON_Value *labels_to_json_array(const LabelMap &labels);

}  // namespace vrn::metrics
