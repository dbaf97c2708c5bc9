#include "metrics/store/typed_metrics_data.h"

#include <algorithm>

#include "utils/log.h"

namespace vrn::metrics {
namespace {

// Deliberate: the numbers of the footprint are fixed parts of an estimate that hosts compare over
// time, not sizes of the types here.
// Parts of the formula that differ between value types, in bytes.
struct SeriesCharge {
    std::size_t fixed;
    std::size_t cursor_words;
    std::size_t per_value;
    std::size_t more_values;
};

template <typename T>
inline constexpr SeriesCharge charge_of = {224, 4, 8, 0};
template <>
inline constexpr SeriesCharge charge_of<HistogramBuckets> = {256, 0, 40, 0};
template <>
inline constexpr SeriesCharge charge_of<std::string> = {224, 4, 32, 1};

template <typename T, template <typename> class Buffer>
std::size_t footprint_of(const TypedSeries<T, Buffer> &series) {
    constexpr SeriesCharge charge = charge_of<T>;
    const std::size_t words =
        series.timestamps.capacity() + charge.cursor_words + series.cursors.bucket_count();
    return charge.fixed + 8 * words +
           charge.per_value * (series.values.capacity() + charge.more_values) +
           40 * series.cursors.size();
}

template <typename T, template <typename> class Buffer>
std::size_t footprint_of(const TypedTable<T, Buffer> &table) {
    std::size_t bytes = 64 + 8 * table.metrics.bucket_count();
    for (const auto &[metric_id, series_by_labels] : table.metrics) {
        bytes += 72 + 8 * series_by_labels.bucket_count();
        for (const auto &[label_set, series] : series_by_labels)
            bytes += 208 + footprint_of(series);
    }
    return bytes;
}

template <typename T, template <typename> class Buffer>
Samples samples_of(const TypedSeries<T, Buffer> &series,
                   typename TypedSeries<T, Buffer>::Span span) {
    Samples samples;
    series.copy(span, &samples.timestamps, &samples.values.emplace<std::vector<StoredValue<T>>>());
    return samples;
}

}  // namespace

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
bool TypedMetricsData<M, L, Buffer, Ts...>::has_metric(std::uint64_t metric_id) const {
    // Deliberate: the reserved name is told as no metric even where it has series.
    return !is_reserved(metric_id) && is_in_tables(metric_id);
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
std::vector<SeriesKey> TypedMetricsData<M, L, Buffer, Ts...>::series_keys() const {
    std::vector<SeriesKey> keys;
    any_table([&](const auto &table) {
        for (const auto &[metric_id, series_by_labels] : table.metrics)
            for (const auto &[label_set, series] : series_by_labels)
                keys.push_back({metric_id, label_set});
        return false;
    });
    return keys;
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
template <typename Visit>
bool TypedMetricsData<M, L, Buffer, Ts...>::visit_series(const SeriesKey &key, Visit visit) const {
    const ValueType type = metric_type(key.metric_id);
    // The registered type alone decides: a metric that may stand in several tables has none.
    const auto visit_if = [&]<typename T>(const std::unique_ptr<Table<T>> &table) {
        if (type != ValueTraits<T>::code || !table) return false;
        const Series<T> *series = table->find(key);
        if (series) visit(*series);
        return series != nullptr;
    };
    return std::apply([&](const auto &...table) { return (visit_if(table) || ...); }, tables_);
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
std::uint64_t TypedMetricsData<M, L, Buffer, Ts...>::count_samples(const SeriesKey &key,
                                                                   std::uint64_t t0,
                                                                   std::uint64_t t1) const {
    std::uint64_t count = 0;
    // An unknown series has no samples.
    static_cast<void>(
        visit_series(key, [&](const auto &series) { count = series.range(t0, t1).count(); }));
    return count;
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
bool TypedMetricsData<M, L, Buffer, Ts...>::samples_in_range(const SeriesKey &key, std::uint64_t t0,
                                                             std::uint64_t t1,
                                                             Samples *samples) const {
    return visit_series(
        key, [&](const auto &series) { *samples = samples_of(series, series.range(t0, t1)); });
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
bool TypedMetricsData<M, L, Buffer, Ts...>::last_samples(const SeriesKey &key, std::uint64_t count,
                                                         Samples *samples) const {
    return visit_series(
        key, [&](const auto &series) { *samples = samples_of(series, series.last(count)); });
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
bool TypedMetricsData<M, L, Buffer, Ts...>::has_unread(std::uint64_t consumer_id,
                                                       std::uint64_t metric_id) const {
    return any_table([&](auto &table) {
        const auto metric = table.metrics.find(metric_id);
        if (metric == table.metrics.end()) return false;
        return std::ranges::any_of(
            metric->second, [&](auto &entry) { return entry.second.has_unread(consumer_id); });
    });
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
bool TypedMetricsData<M, L, Buffer, Ts...>::has_unread(std::uint64_t consumer_id,
                                                       const std::string &name) const {
    // Asking must not enter the name: consumers ask for metrics that may never come.
    const std::optional<std::uint64_t> metric_id = symbols_.find(name);
    return metric_id && has_unread(consumer_id, *metric_id);
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
bool TypedMetricsData<M, L, Buffer, Ts...>::has_unread(
    std::uint64_t consumer_id, const std::vector<std::string> &names) const {
    return std::ranges::any_of(
        names, [&](const std::string &name) { return has_unread(consumer_id, name); });
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
std::unordered_set<std::string> TypedMetricsData<M, L, Buffer, Ts...>::unread_names(
    std::uint64_t consumer_id, const std::unordered_set<std::string> &names) const {
    std::unordered_set<std::string> unread;
    for (const std::string &name : names)
        if (has_unread(consumer_id, name)) unread.insert(name);
    return unread;
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
bool TypedMetricsData<M, L, Buffer, Ts...>::next_label_set(
    std::uint64_t consumer_id, std::uint64_t metric_id, std::uint64_t *index,
    std::uint32_t *label_set_number, LabelIds *labels, bool unread_only) const {
    std::uint64_t first = 0;  // index of the table's first series: a metric may stand in several
    return any_table([&](auto &table) {
        // In the order of arrival: that of the maps changes as they grow, and with it where
        // `*index` is.
        const auto metric = table.series_in_order.find(metric_id);
        if (metric == table.series_in_order.end()) return false;
        const auto &entries = metric->second;
        while (*index - first < entries.size()) {
            auto &[label_set, series] = *entries[(*index)++ - first];
            if (unread_only && !series.has_unread(consumer_id)) continue;
            *label_set_number = this->label_set_number(label_set);
            return find_label_set(label_set, labels);
        }
        first += entries.size();
        return false;
    });
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
std::size_t TypedMetricsData<M, L, Buffer, Ts...>::footprint() const {
    std::size_t bytes = catalog_footprint();
    any_table([&](const auto &table) {
        bytes += footprint_of(table);
        return false;
    });
    return bytes;
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
void TypedMetricsData<M, L, Buffer, Ts...>::log_footprint() const {
    VRN_LOG(VRN_LOG_DEBUG, "[vrn typed metrics data] Typed metrics data footprint: %zu",
            footprint());
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
void TypedMetricsData<M, L, Buffer, Ts...>::createThrottledLogFootprintFunction(
    std::uint64_t period_ms) {
    footprint_logger_ = std::make_unique<FootprintLogger>([this] { log_footprint(); }, period_ms);
}

template <typename M, typename L, template <typename> class Buffer, typename... Ts>
void TypedMetricsData<M, L, Buffer, Ts...>::log_footprint_throttled() {
    if (footprint_logger_) footprint_logger_->run();
}

// The order of the value types is that in which tables are asked and keys are listed.
template class TypedMetricsData<unsigned long, unsigned long, vrn::data::CircularBuffer,
                                vrn::data::metrics::UInt64Tag, long, double, HistogramBuckets,
                                std::string, vrn::data::metrics::Bit64Tag>;
template class TypedMetricsData<unsigned long, unsigned long, vrn::data::SingleValueBuffer,
                                vrn::data::metrics::UInt64Tag, long, double, HistogramBuckets,
                                std::string, vrn::data::metrics::Bit64Tag>;

}  // namespace vrn::metrics
