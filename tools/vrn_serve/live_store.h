// The store that the pages show: samples from files in any order, within bounds.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "metrics/store/typed_metrics_data.h"
#include "series/series_options.h"

namespace vrn::serve {

struct StoreLimits {
    std::uint64_t samples = 3600;                      // newest ones of each series
    std::uint64_t max_bytes = std::uint64_t{1} << 30;  // of all series together
    std::uint64_t keep_us = 0;                         // 0: whatever their age
};

struct StoreState {
    std::uint64_t series = 0;
    std::uint64_t taken_samples = 0;   // since the start
    std::uint64_t dropped_series = 0;  // to make room, or by age
    std::uint64_t refused_series = 0;  // without room or of another type than their metric
    std::uint64_t samples_limit = 0;   // of a series; falls when memory is short
    std::uint64_t keep_us = 0;         // as of StoreLimits
    bool is_short_of_memory = false;   // something was dropped or refused to bound it
    std::uint64_t newest_us = 0;       // time of the newest sample
};

// For any number of threads. Each series holds its newest samples in the order of their times,
// whatever order they came in; one that came before, by time and value, is not taken again. So
// files may be read newest first, and copies of a file add nothing.
class LiveStore {
  public:
    // Borrows the options.
    LiveStore(const StoreLimits &limits, const series::SeriesOptions *options);

    // An empty store to collect samples in, for take().
    std::unique_ptr<metrics::MetricsHistory> make_intake() const;

    // Adds what `intake` holds.
    void take(const metrics::MetricsHistory &intake);

    // Drops what is too old.
    void expire();

    void clear();

    // Samples before that time, in microseconds since the epoch, aren't kept.
    std::uint64_t oldest_wanted_us() const;

    StoreState state() const;

    // Changes with the content.
    std::uint64_t version() const;

    // Calls `use` with the store while nothing changes it. Texts in it are in the form that
    // series::prepare_store() tells of.
    void read(const std::function<void(const metrics::MetricsHistory &store)> &use) const;

  private:
    struct Merge;
    using KeepSeries = std::function<bool(std::uint64_t oldest_us, std::uint64_t newest_us,
                                          std::uint64_t samples)>;

    std::uint64_t reference_us() const;
    std::uint64_t floor_us() const;
    bool make_room();
    void rebuild(const KeepSeries &keep);

    const StoreLimits limits_;
    const series::SeriesOptions *options_;
    mutable std::mutex mutex_;  // guards all that follows
    std::unique_ptr<metrics::MetricsHistory> store_;
    StoreState state_;
    std::uint64_t version_ = 0;
};

}  // namespace vrn::serve
