#include "metrics/histogram_set.h"

#include <algorithm>
#include <stdexcept>

#include "metrics/section_mark.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

// Null for an unknown id.
template <typename Histograms>
auto *find(Histograms &histograms, std::uint64_t id) {
    const auto found = histograms.find(id);
    return found == histograms.end() ? nullptr : &found->second;
}

void require_ascending(const std::vector<double> &upper_bounds) {
    for (std::size_t i = 1; i < upper_bounds.size(); ++i) {
        // Deliberate: equal bounds pass, whatever the words of the message say, and so does a NaN.
        if (!(upper_bounds[i] < upper_bounds[i - 1])) continue;
        constexpr char what[] = "Histogram buckets must be monotonically increasing";
        VRN_LOG(VRN_LOG_ERROR, "[vrn metrics histograms] %s", what);
        throw std::runtime_error(what);
    }
}

}  // namespace

std::uint64_t HistogramSet::next_id() const {
    // Ids of removed histograms are used again only from the top, so that one in use is never given
    // twice.
    std::uint64_t next = 0;
    for (const auto &[id, histogram] : histograms) next = std::max(next, id + 1);
    return next;
}

Bytes HistogramSet::parse_sections(Bytes range, const std::vector<std::string> &label_values) {
    // Once, not for each section: finding it goes through all histograms.
    std::uint64_t id = next_id();
    Bytes rest = range;
    for (Bytes hit = find_mark(rest, "HIST"); !hit.empty(); hit = find_mark(rest, "HIST")) {
        Histogram histogram;
        const std::uint64_t end = Histogram::parse(hit, label_values, &histogram);
        // The closing mark is passed over without a look, even where the range ends within it.
        rest = hit.subspan(std::min<std::uint64_t>(end + MARK_SIZE, hit.size()));
        histograms.emplace(id++, std::move(histogram));
    }
    return rest;
}

std::uint64_t HistogramSet::add(std::uint64_t timestamp, const std::string &name,
                                const TimeseriesId &timeseries_id,
                                const std::vector<double> &upper_bounds, std::uint64_t label_set_id,
                                const std::vector<std::string> &label_values) {
    require_ascending(upper_bounds);
    // Deliberate: a known time series keeps its bounds, even when others are given.
    if (const auto known = timeseries_ids.find(timeseries_id); known != timeseries_ids.end()) {
        VRN_LOG(VRN_LOG_DEBUG,
                "[vrn metrics histograms] Histogram with timeseries_id for '%s' already exists "
                "with id %lu",
                name.c_str(), known->second);
        return known->second;
    }
    const std::uint64_t id = next_id();
    Histogram &histogram = histograms[id];
    for (const double bound : upper_bounds) histogram.buckets.push_back({bound, 0});
    histogram.name = name;
    histogram.timestamp = timestamp;
    histogram.label_set_id = label_set_id;
    histogram.label_values = label_values;
    timeseries_ids.emplace(timeseries_id, id);
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics histograms] Added new histogram with id %lu for '%s'", id,
            name.c_str());
    return id;
}

void HistogramSet::observe(std::uint64_t id, double value) {
    Histogram *histogram = find(histograms, id);
    if (!histogram) {
        VRN_LOG(VRN_LOG_ERROR, "[vrn metrics histograms] Histogram id: %lu does not exist", id);
        throw std::runtime_error("Histogram id does not exist");
    }
    histogram->observe(value);
}

bool HistogramSet::serialize(std::uint64_t id, Bytes labels_block, PreallocatedVector *out) const {
    const Histogram *histogram = find(histograms, id);
    if (histogram) histogram->serialize(labels_block, out);
    return histogram;
}

bool HistogramSet::set_report_interval(std::uint64_t id, std::uint64_t interval_ms) {
    Histogram *histogram = find(histograms, id);
    if (histogram) histogram->set_report_interval(interval_ms);
    return histogram;
}

void HistogramSet::set_report_interval_of_all(std::uint64_t interval_ms) {
    for (auto &[id, histogram] : histograms) histogram.set_report_interval(interval_ms);
}

bool HistogramSet::is_due(std::uint64_t id) const {
    const Histogram *histogram = find(histograms, id);
    return histogram && histogram->is_due();
}

bool HistogramSet::reset(std::uint64_t id) {
    Histogram *histogram = find(histograms, id);
    if (histogram) histogram->reset();
    return histogram;
}

bool HistogramSet::remove(std::uint64_t id) {
    // Parsed histograms have no time series, so an id may have no entry.
    std::erase_if(timeseries_ids, [&](const auto &entry) { return entry.second == id; });
    return histograms.erase(id) > 0;
}

}  // namespace vrn::metrics
