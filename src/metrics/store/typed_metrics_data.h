// In-memory store of metric time series.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "metrics/store/circular_buffer.h"
#include "metrics/store/metrics_catalog.h"
#include "metrics/store/single_value_buffer.h"
#include "metrics/store/typed_series.h"
#include "metrics/store/value_types.h"

namespace vrn::metrics {

// The series of one value type, by metric id and label set hash.
template <typename T, template <typename> class Buffer>
struct TypedTable {
    using Series = TypedSeries<T, Buffer>;
    using SeriesByLabels = std::unordered_map<std::uint64_t, Series>;

    // Null when the table doesn't hold the series.
    Series *find(const SeriesKey &key) {
        const auto metric = metrics.find(key.metric_id);
        if (metric == metrics.end()) return nullptr;
        const auto series = metric->second.find(key.label_set);
        return series == metric->second.end() ? nullptr : &series->second;
    }

    // A series that the table doesn't hold yet; `capacity` in samples.
    Series &add(const SeriesKey &key, std::uint64_t capacity) {
        auto &order = series_in_order[key.metric_id];
        // Room first, so that no series stands in one of the two only when memory runs out.
        if (order.size() == order.capacity()) order.reserve(2 * order.size() + 1);
        auto &entry = *metrics[key.metric_id].try_emplace(key.label_set, capacity).first;
        order.push_back(&entry);
        return entry.second;
    }

    const vrn::data::metrics::SymbolTable *symbols;  // of the store that owns the table
    std::unordered_map<std::uint64_t, SeriesByLabels> metrics;
    // The entries of each metric, oldest first: one finds its place again when others were added.
    std::unordered_map<std::uint64_t, std::vector<typename SeriesByLabels::value_type *>>
        series_in_order;
};

// Keeps, for every metric and every set of labels, a bounded span of (timestamp, value) pairs of
// one value type, and the position of each consumer in it. Series, metrics and label sets stay
// until the store ends.
//
// `Buffer` is the storage of a series, `Ts` are the value types in the order of their tables.
//
// The store has no lock but that of the cursors of each series: consumers may read side by side; a
// caller with more than one thread serializes everything that writes, which is the feed, intern and
// the setters, footprint(), and the operations that say so, against all other calls.
template <typename MetricKey, typename LabelSetKey, template <typename> class Buffer,
          typename... Ts>
class TypedMetricsData : public MetricsCatalog {
    static_assert(std::same_as<MetricKey, std::uint64_t>);
    static_assert(std::same_as<LabelSetKey, std::uint64_t>);

  public:
    template <typename T>
    using Table = TypedTable<T, Buffer>;
    template <typename T>
    using Series = TypedSeries<T, Buffer>;

    using MetricsCatalog::MetricsCatalog;
    // Tables point to their store.
    TypedMetricsData(const TypedMetricsData &) = delete;
    TypedMetricsData &operator=(const TypedMetricsData &) = delete;

    // True when any table holds the metric, but never for RESERVED_NAME. Asking by name adds a use
    // of the name.
    bool has_metric(const std::string &name) { return has_metric(intern(name)); }
    bool has_metric(std::uint64_t metric_id) const;

    // True when any table holds the metric, RESERVED_NAME too.
    bool is_in_tables(std::uint64_t metric_id) const {
        return any_table([&](const auto &table) { return table.metrics.contains(metric_id); });
    }

    // The series, created with what it needs when it is missing. Throws std::runtime_error when the
    // metric is of another type, SymbolNotFoundError when it has no name, either; StoreFull.
    template <typename T>
    Series<T> &get_series(std::uint64_t metric_id, std::uint64_t label_set) {
        Table<T> &table = get_table<T>();
        require_type(metric_id, ValueTraits<T>::code);
        if (Series<T> *known = table.find({metric_id, label_set})) return *known;
        require_room();
        Series<T> &series = table.add({metric_id, label_set}, capacity_of(metric_id));
        constexpr std::size_t sample_size = sizeof(std::uint64_t) + sizeof(StoredValue<T>);
        used_bytes_ += sizeof series + sample_size * series.values.capacity();
        return series;
    }

    // Null when there is no such series.
    template <typename T>
    Series<T> *find_series(const SeriesKey &key) const {
        const auto &table = std::get<std::unique_ptr<Table<T>>>(tables_);
        return table ? table->find(key) : nullptr;
    }

    // The table of a value type, null before its first use; and the same created.
    template <typename T>
    const Table<T> *find_table() const {
        return std::get<std::unique_ptr<Table<T>>>(tables_).get();
    }
    template <typename T>
    Table<T> &get_table() {
        auto &table = std::get<std::unique_ptr<Table<T>>>(tables_);
        if (!table)
            table = std::make_unique<Table<T>>(
                Table<T>{.symbols = &symbols_, .metrics = {}, .series_in_order = {}});
        return *table;
    }

    // Calls `visit` with each table that exists, in the order of the value types. Stops at the
    // first call that returns true, and returns whether there was one.
    template <typename Visit>
    bool any_table(Visit visit) const {
        const auto visited = [&](const auto &table) { return table && visit(*table); };
        return std::apply([&](const auto &...table) { return (visited(table) || ...); }, tables_);
    }

    // All series, in the order of the value types.
    std::vector<SeriesKey> series_keys() const;

    // Samples of a series with `t0` < timestamp <= `t1` (microseconds), all when both are 0. The
    // value type is the registered one; of a series without it there are none. `samples` is
    // replaced; false, with nothing written, when there is no such series.
    std::uint64_t count_samples(const SeriesKey &key, std::uint64_t t0, std::uint64_t t1) const;
    [[nodiscard]] bool samples_in_range(const SeriesKey &key, std::uint64_t t0, std::uint64_t t1,
                                        Samples *samples) const;
    // The newest `count`, or all.
    bool last_samples(const SeriesKey &key, std::uint64_t count, Samples *samples) const;

    // True when any series of a metric, or of one of the metrics, has samples that the consumer
    // hasn't read.
    bool has_unread(std::uint64_t consumer_id, std::uint64_t metric_id) const;
    bool has_unread(std::uint64_t consumer_id, const std::string &name) const;
    bool has_unread(std::uint64_t consumer_id, const std::vector<std::string> &names) const;
    // The names of such metrics.
    std::unordered_set<std::string> unread_names(
        std::uint64_t consumer_id, const std::unordered_set<std::string> &names) const;

    // Moves up to `max_count` samples that the consumer hasn't read yet into the vectors, oldest
    // first, and returns their number. The vectors are emptied when there are none.
    template <typename T>
    std::uint64_t read_unread(std::uint64_t consumer_id, const SeriesKey &key,
                              std::vector<std::uint64_t> *timestamps,
                              std::vector<StoredValue<T>> *values, std::uint64_t max_count) const {
        Series<T> *series = find_series<T>(key);
        if (series) return series->read(consumer_id, timestamps, values, max_count);
        timestamps->clear();
        values->clear();
        return 0;
    }

    // Iterator over the label sets of a metric in the order of their series' creation: `index`, 0
    // at the start, moves past the series that the outputs tell of. With `unread_only`, series that
    // the consumer has read are passed over. False at the end. Throws std::runtime_error for a
    // label set that isn't registered.
    [[nodiscard]] bool next_label_set(std::uint64_t consumer_id, std::uint64_t metric_id,
                                      std::uint64_t *index, std::uint32_t *label_set_number,
                                      LabelIds *labels, bool unread_only) const;

    // Estimate of the memory in use, in bytes, by a formula over counts.
    std::size_t footprint() const;

    // Shows the footprint at debug level.
    void log_footprint() const;
    // Lets log_footprint_throttled() show it at most once in `period_ms`; without, it does nothing.
    void createThrottledLogFootprintFunction(std::uint64_t period_ms);
    void log_footprint_throttled();

  private:
    // Calls `visit` with the series, whose value type is the registered one. False when there is no
    // such series.
    template <typename Visit>
    [[nodiscard]] bool visit_series(const SeriesKey &key, Visit visit) const;

    std::tuple<std::unique_ptr<Table<Ts>>...> tables_;
};

// A store of either policy.
template <template <typename> class Buffer>
using MetricsStore =
    TypedMetricsData<unsigned long, unsigned long, Buffer, vrn::data::metrics::UInt64Tag, long,
                     double, HistogramBuckets, std::string, vrn::data::metrics::Bit64Tag>;

using MetricsHistory = MetricsStore<vrn::data::CircularBuffer>;     // the last n samples
using MetricsCurrent = MetricsStore<vrn::data::SingleValueBuffer>;  // the last sample

extern template class TypedMetricsData<unsigned long, unsigned long, vrn::data::CircularBuffer,
                                       vrn::data::metrics::UInt64Tag, long, double,
                                       HistogramBuckets, std::string, vrn::data::metrics::Bit64Tag>;
extern template class TypedMetricsData<unsigned long, unsigned long, vrn::data::SingleValueBuffer,
                                       vrn::data::metrics::UInt64Tag, long, double,
                                       HistogramBuckets, std::string, vrn::data::metrics::Bit64Tag>;

}  // namespace vrn::metrics
