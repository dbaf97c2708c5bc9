// Histograms in a store and the plain series that are derived from them.
// Every operation exists for both storage policies.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "metrics/histogram.h"
#include "metrics/store/typed_metrics_data.h"

namespace vrn::metrics {

using SeriesGroups = std::unordered_map<std::string, std::vector<SeriesKey>>;

// Adds a snapshot of `histogram`, whose label_set_id is the hash of a label set of the store.
// Throws std::runtime_error when its name is that of a metric of another type. A store that derives
// histograms takes the values of the derived series in its place, with its own buckets as they are.
// False, after error lines, when one of them was left out as its name has another type.
template <typename Store>
[[nodiscard]] bool store_histogram(const Histogram &histogram, Store *store);

// True for the name of a derived series, and for that of a metric in the histogram table, which is
// created when it is missing.
template <typename Store>
bool is_histogram_metric(const std::string &name, Store *store);

// Derives "_bucket", "_sum" and "_count" series from the histograms of `source` in a time range
// (microseconds, t0 < t <= t1, all when both are 0); only one of them when `name` has its suffix.
// `*derived` receives the new store first, so that it holds what was built when an exception
// passes: SymbolNotFoundError for a histogram without name.
template <typename Store>
void generate_histogram_derivative(std::unique_ptr<Store> *derived, const Store &source,
                                   const std::string &name, std::uint64_t t0, std::uint64_t t1);

// Puts the series of one histogram under one key, told by base name and labels other than "le".
// Clears `groups` first. Series without labels are left out. Throws SymbolNotFoundError.
template <typename Store>
void group_bucket_metrics(const Store &store, const std::vector<SeriesKey> &keys,
                          SeriesGroups *groups);

}  // namespace vrn::metrics
