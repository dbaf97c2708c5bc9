// The chart page: a store as one HTML document with its data, scripts and style inside.
//
// The page is meant to be served as "/rta/metrics/dump". It calls back to its host for a fresh
// page, for "/rta/metrics/dump/csv", for "/rta/metrics/clear" and, when it is live or doesn't carry
// its points, for "/rta/metrics/data"; without a host it shows its data all the same.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <ostream>
#include <span>
#include <string>

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

// More detailed points in a script keep a browser from showing the page within a second or two.
inline constexpr std::uint64_t MAX_SCRIPT_POINTS = 200'000;

// What a page does otherwise than that of write_chart_page() without options.
struct ChartPageOptions {
    // False for a page in a file: nobody refreshes, exports or clears anything for it.
    bool has_host = true;
    // The host adds to the store meanwhile: the page loads the points of the chosen metrics anew,
    // twice a second.
    bool is_live = false;
    // Detailed points of all series above which they don't stand in the script: the page loads
    // those of the chosen metrics from its host or, without one, from elements after the script.
    std::uint64_t max_script_points = std::numeric_limits<std::uint64_t>::max();
    // Chooses the metrics that are shown unless the address says otherwise. May be empty; what an
    // earlier visit showed comes again then.
    std::function<bool(const std::string &name)> shows_first{};
    // What the page says of its data, such as what of it had to go. May be empty.
    std::string notice{};
};

// The store keeps labels in the form of script_text(). Throws std::bad_alloc.
template <typename Store>
void write_chart_page(std::ostream &out, const Store &store, const ChartPageOptions &options);

// The answer to "/rta/metrics/data?metrics=ID,ID,...&t=MS": a JSON object with a member for each of
// the metrics that has series, under its id in decimal digits: an array of objects
//   {"label": text, "count": samples held, "x": [first time in ms, differences...], "y": [values]}
// with the detailed points, thinned as those of a page; values that are no numbers are null. Labels
// as above. Throws std::bad_alloc.
template <typename Store>
void write_chart_points(std::ostream &out, const Store &store,
                        std::span<const std::uint64_t> metric_ids);

extern template void write_chart_page(std::ostream &, const MetricsHistory &, std::uint64_t,
                                      const ChartScripts &);
extern template void write_chart_page(std::ostream &, const MetricsCurrent &, std::uint64_t,
                                      const ChartScripts &);
extern template void write_chart_page(std::ostream &, const MetricsHistory &,
                                      const ChartPageOptions &);
extern template void write_chart_page(std::ostream &, const MetricsCurrent &,
                                      const ChartPageOptions &);
extern template void write_chart_points(std::ostream &, const MetricsHistory &,
                                        std::span<const std::uint64_t>);
extern template void write_chart_points(std::ostream &, const MetricsCurrent &,
                                        std::span<const std::uint64_t>);

}  // namespace vrn::metrics
