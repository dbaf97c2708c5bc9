// Series of older files, read apart, put before those of a store.
#pragma once

#include "metrics/store/typed_metrics_data.h"

namespace vrn::series {

// Puts the samples of all series of `from` into `into` by their times; of samples of one time those
// of `from` come first. Each series keeps its newest samples, as many as it has room for. Both
// stores were prepared alike. Consumers that read series of `into` start anew. False when a name
// has values of another type in `into`, whose series are passed over. Throws StoreFull.
bool merge_series(const metrics::MetricsHistory &from, metrics::MetricsHistory *into);

}  // namespace vrn::series
