// The series of a store that the values of one column go to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "metrics/store/typed_metrics_data.h"

namespace vrn::series {

// Known by its keys: it may be gone from the store, or the store be emptied, and come again.
struct StoredSeries {
    metrics::SeriesKey key;
    metrics::ValueType type;
};

// The series of a name under a set of labels, made where it is missing. None when series of this
// name hold values of another type. Throws StoreFull.
std::optional<StoredSeries> open_series(const std::string &name, metrics::ValueType type,
                                        bool is_running_sum, std::uint64_t label_set,
                                        metrics::MetricsHistory *store);

// `bits` are those of a value of the series' type, `time` is in microseconds. Throws StoreFull.
void push_value(const StoredSeries &series, std::uint64_t time, std::uint64_t bits,
                metrics::MetricsHistory *store);

}  // namespace vrn::series
