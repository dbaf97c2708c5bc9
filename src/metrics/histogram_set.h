// Live histograms by id.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "metrics/histogram.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

// Id of a time series at the caller.
using TimeseriesId = std::pair<std::uint64_t, std::uint64_t>;

struct TimeseriesIdHash {
    std::size_t operator()(const TimeseriesId &id) const {
        const auto [a, b] = id;
        return ((a >> 2) + (a << 6) + b + 0x9e3779b9) ^ a;
    }
};

// No lock: the owner serializes the calls. Operations on one histogram return false when its id is
// unknown, unless they say otherwise.
struct HistogramSet {
    std::unordered_map<std::uint64_t, Histogram> histograms;
    std::unordered_map<TimeseriesId, std::uint64_t, TimeseriesIdHash> timeseries_ids;

    // 0 for an empty set, else one above the highest id present.
    std::uint64_t next_id() const;

    // Adds the histograms of all HIST sections in `range`; returns the bytes after the last one.
    // Throws what Histogram::parse throws; the histograms before the fault stay.
    Bytes parse_sections(Bytes range, const std::vector<std::string> &label_values);

    // Id of a new histogram without observations, or of the one that the time series has. Throws
    // std::runtime_error, after an error line, when the bounds decrease.
    std::uint64_t add(std::uint64_t timestamp, const std::string &name,
                      const TimeseriesId &timeseries_id, const std::vector<double> &upper_bounds,
                      std::uint64_t label_set_id, const std::vector<std::string> &label_values);

    // Throws std::runtime_error, after an error line, for an unknown id.
    void observe(std::uint64_t id, double value);

    [[nodiscard]] bool serialize(std::uint64_t id, Bytes labels_block,
                                 PreallocatedVector *out) const;
    [[nodiscard]] bool set_report_interval(std::uint64_t id, std::uint64_t interval_ms);
    void set_report_interval_of_all(std::uint64_t interval_ms);
    bool is_due(std::uint64_t id) const;
    [[nodiscard]] bool reset(std::uint64_t id);
    [[nodiscard]] bool remove(std::uint64_t id);
    bool empty() const { return histograms.empty(); }
};

}  // namespace vrn::metrics
