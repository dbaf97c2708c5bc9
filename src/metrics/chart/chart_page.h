// The chart page: a store as one HTML document with its data, scripts and style inside.
//
// The page is meant to be served as "/rta/metrics/dump". It calls back to its host for a fresh
// page, for "/rta/metrics/dump/csv" and for "/rta/metrics/clear"; without a host it shows its data
// all the same.
#pragma once

#include <cstdint>
#include <ostream>

#include "metrics/chart/chart_scripts.h"
#include "metrics/store/typed_metrics_data.h"

namespace vrn::metrics {

// Writes the page of `store`, which is a MetricsHistory or a MetricsCurrent. Throws nothing for
// data: what can't be shown is left out, after an error line where it is a metric without a name or
// a histogram. Failures of the stream stay in its state. `argument` isn't used.
//
// Label texts stand in JavaScript strings as the store has them: one with a quote, a backslash or a
// newline makes a page whose scripts don't run, or runs scripts of its own. A host whose labels
// come from others keeps them in the form that the page takes, by set_label_form(script_text) of
// its store (metrics/chart/page_text.h).
template <typename Store>
void write_chart_page(std::ostream &out, const Store &store, std::uint64_t argument,
                      const ChartScripts &scripts = chart_scripts);

extern template void write_chart_page(std::ostream &, const MetricsHistory &, std::uint64_t,
                                      const ChartScripts &);
extern template void write_chart_page(std::ostream &, const MetricsCurrent &, std::uint64_t,
                                      const ChartScripts &);

}  // namespace vrn::metrics
