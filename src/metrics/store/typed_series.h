// One series of a store: a bounded span of samples and a cursor for each of its readers.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "metrics/store/value_types.h"

namespace vrn::metrics {

inline constexpr std::uint32_t METRIC_TYPE_GAUGE = 'G';
inline constexpr std::uint32_t METRIC_TYPE_UNKNOWN = 'U';

// Where a consumer stands in a series.
struct MetricCursor {
    std::uint64_t position = 0;    // first unread element, by age
    std::uint64_t generation = 0;  // wrap_count when last re-based; 0 until the first use
    std::uint64_t base = 0;        // sample_count at the last read
};

// The buffers have no lock: whoever has more than one thread serializes push() against all other
// calls. The cursors have one, so that consumers may read side by side.
template <typename T, template <typename> class Buffer>
struct TypedSeries {
    using Stored = StoredValue<T>;

    // Ages of samples: `first` up to but without `last`.
    struct Span {
        std::uint64_t first;
        std::uint64_t last;
        std::uint64_t count() const { return last - first; }
    };

    // `capacity` in samples, at least 1. It stays for good.
    explicit TypedSeries(std::uint64_t capacity) : timestamps(capacity), values(capacity) {}

    void push(std::uint64_t timestamp, Stored value) {
        const bool overwrites = values.size() == values.capacity();
        timestamps.push(timestamp);
        values.push(std::move(value));
        if (overwrites) wrap_count.fetch_add(1, std::memory_order_release);
        sample_count.fetch_add(1, std::memory_order_release);
    }

    // The samples with `t0` < timestamp <= `t1`, both in microseconds; all when both are 0.
    Span range(std::uint64_t t0, std::uint64_t t1) const {
        if (t0 == 0 && t1 == 0) return {0, timestamps.size()};
        std::vector<std::uint64_t> times;
        timestamps.copy(0, timestamps.size(), &times);
        const auto first = std::upper_bound(times.begin(), times.end(), t0);
        const auto last = std::upper_bound(times.begin(), times.end(), t1);
        if (first >= last) return {0, 0};
        return {static_cast<std::uint64_t>(first - times.begin()),
                static_cast<std::uint64_t>(last - times.begin())};
    }

    // The newest `count` samples, or all of them.
    Span last(std::uint64_t count) const {
        return {timestamps.size() - std::min(count, timestamps.size()), timestamps.size()};
    }

    void copy(Span span, std::vector<std::uint64_t> *out_timestamps,
              std::vector<Stored> *out_values) const {
        timestamps.copy(span.first, span.count(), out_timestamps);
        values.copy(span.first, span.count(), out_values);
    }

    // Brings the cursor of a consumer up to date and returns it. A new one stands at the oldest
    // sample held, as does one that fell behind by more than the buffer holds.
    MetricCursor sync_cursor(std::uint64_t consumer_id) {
        const std::lock_guard guard(lock);
        return synced_cursor(consumer_id);
    }

    bool has_unread(std::uint64_t consumer_id) {
        return sync_cursor(consumer_id).position < values.size();
    }

    // Moves up to `max_count` samples that the consumer hasn't read yet into the vectors, oldest
    // first, and returns their number.
    std::uint64_t read(std::uint64_t consumer_id, std::vector<std::uint64_t> *out_timestamps,
                       std::vector<Stored> *out_values, std::uint64_t max_count) {
        const std::uint64_t position = sync_cursor(consumer_id).position;
        const std::uint64_t unread = values.size() - std::min(position, values.size());
        const std::uint64_t count = std::min(max_count, unread);
        copy({position, position + count}, out_timestamps, out_values);
        if (count == 0) return 0;
        const std::lock_guard guard(lock);
        MetricCursor &cursor = synced_cursor(consumer_id);
        cursor.position += count;
        cursor.base += count;
        return count;
    }

    Buffer<std::uint64_t> timestamps;  // microseconds since the epoch
    Buffer<Stored> values;
    std::uint32_t metric_type = METRIC_TYPE_GAUGE;
    std::unordered_map<std::uint64_t, MetricCursor> cursors;  // by consumer id
    std::atomic<std::uint64_t> wrap_count = 1;                // pushes that overwrote, and 1
    std::atomic<std::uint64_t> sample_count = 0;              // pushes
    std::mutex lock;                                          // guards `cursors`

  private:
    // The lock is held.
    MetricCursor &synced_cursor(std::uint64_t consumer_id) {
        MetricCursor &cursor = cursors[consumer_id];
        const std::uint64_t size = values.size();
        if (cursor.generation == 0)
            cursor = {.position = 0, .generation = wrap_count, .base = sample_count - size};
        const std::uint64_t pushed = sample_count - cursor.base;
        if (pushed <= values.capacity())
            cursor.position = size - std::min(size, pushed);
        else
            cursor = {.position = 0, .generation = wrap_count, .base = sample_count - size};
        return cursor;
    }
};

}  // namespace vrn::metrics
