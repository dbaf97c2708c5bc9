// Reads data files into a store.
#pragma once

#include <string>

#include "metrics/store/typed_metrics_data.h"

namespace vrn::chart {

// Stores the metrics of the data file at `path`, plain or compressed as a whole. Blocks of other
// kinds are passed over; compressed pages are opened. False after a line when anything of the file
// is lost, which is a fault in it or a store that is full; the rest is stored.
bool read_metrics(const std::string &path, metrics::MetricsHistory *store);

}  // namespace vrn::chart
