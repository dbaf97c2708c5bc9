#include "metrics/store/histogram_store.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "metrics/store/histogram_names.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

using vrn::data::metrics::SymbolTable;
using vrn::data::metrics::UInt64Tag;

struct HistogramSamples {
    std::vector<std::uint64_t> timestamps;
    std::vector<HistogramBuckets> values;
};

constexpr DerivativeType all_kinds[] = {DerivativeType::bucket, DerivativeType::sum,
                                        DerivativeType::count};

// The derivatives that a name asks for.
std::vector<DerivativeType> kinds_of(const std::string &name) {
    if (is_derivative_name(name)) return {get_derivative_type(name)};
    return {std::begin(all_kinds), std::end(all_kinds)};
}

// Pushes what is derived from histograms of one base name into a store.
template <typename Store>
class DerivedSeries {
  public:
    DerivedSeries(std::string base, Store *store)
        : base_(std::move(base)),
          store_(store),
          le_(store->intern("le")),
          overflow_(store->intern("+Inf")) {}

    // The ids of `labels` are those of the store. There are samples.
    void push(DerivativeType kind, const LabelIds &labels, const HistogramSamples &samples) {
        const std::string name = get_derivative_name(base_, kind);
        const std::uint64_t metric_id = store_->intern(name);
        VRN_LOG(VRN_LOG_DEBUG,
                "[vrn typed metrics data] Generating histogram derivative: %s (type: %u)",
                name.c_str(), static_cast<std::uint32_t>(kind));
        switch (kind) {
            case DerivativeType::sum:
                return push_all<double>(metric_id, labels, samples, &HistogramBuckets::sum);
            case DerivativeType::count:
                return push_all<UInt64Tag>(metric_id, labels, samples, &HistogramBuckets::count);
            case DerivativeType::bucket:
                return push_buckets(metric_id, labels, samples);
        }
        VRN_LOG(VRN_LOG_ERROR, "[vrn typed metrics data] Unknown derivative type for histogram: %s",
                name.c_str());
    }

  private:
    template <typename T>
    void push_all(std::uint64_t metric_id, const LabelIds &labels, const HistogramSamples &samples,
                  StoredValue<T> HistogramBuckets::*value) {
        auto &series =
            store_->template get_series<T>(metric_id, store_->register_label_set(labels));
        for (std::size_t i = 0; i < samples.values.size(); ++i)
            series.push(samples.timestamps[i], samples.values[i].*value);
    }

    // One series for each bucket of the first sample, and one for all observations.
    void push_buckets(std::uint64_t metric_id, const LabelIds &labels,
                      const HistogramSamples &samples) {
        std::vector<typename Store::template Series<UInt64Tag> *> series;
        // Deliberate: the bounds are those of the first sample; a histogram isn't expected to
        // change them. Bounds that are one text share a series.
        for (const Bucket &bucket : samples.values.front().buckets)
            series.push_back(&bucket_series(
                metric_id, labels, store_->intern(format_bucket_bound(bucket.upper_bound))));
        auto &overflow_series = bucket_series(metric_id, labels, overflow_);
        for (std::size_t i = 0; i < samples.values.size(); ++i) {
            const HistogramBuckets &value = samples.values[i];
            const std::size_t buckets = std::min(value.buckets.size(), series.size());
            for (std::size_t j = 0; j < buckets; ++j)
                series[j]->push(samples.timestamps[i], value.buckets[j].count);
            // All observations lie below infinity, those above the last bound, too.
            overflow_series.push(samples.timestamps[i], value.count);
        }
    }

    auto &bucket_series(std::uint64_t metric_id, LabelIds labels, std::uint64_t bound) {
        labels[le_] = bound;
        return store_->template get_series<UInt64Tag>(
            metric_id, store_->register_label_set(std::move(labels)));
    }

    std::string base_;
    Store *store_;
    std::uint64_t le_;
    std::uint64_t overflow_;
};

// The labels of a set of `source` with the ids that they have in `derived`.
template <typename Store>
LabelIds translate_labels(const Store &source, std::uint64_t label_set, Store *derived) {
    LabelIds source_labels;
    LabelIds labels;
    if (!source.find_label_set(label_set, &source_labels))
        VRN_LOG(VRN_LOG_DEBUG, "[vrn typed metrics data] No labels found for label_set_id: %lu",
                label_set);
    for (const auto &[name_id, value_id] : source_labels) {
        try {
            const std::string &name = source.symbols().lookup(name_id);
            const std::string &value = source.symbols().lookup(value_id);
            const std::uint64_t derived_name = derived->intern(name);
            labels[derived_name] = derived->intern(value);
            VRN_LOG(VRN_LOG_DEBUG, "[vrn typed metrics data] Translated label: %s=%s", name.c_str(),
                    value.c_str());
        } catch (const SymbolTable::SymbolNotFoundError &error) {
            VRN_LOG(VRN_LOG_WARNING,
                    "[vrn typed metrics data] Could not translate histogram label: %s",
                    error.what());
        }
    }
    return labels;
}

// Derives from all histograms of `source` with this base name.
template <typename Store>
void derive(const Store &source, const std::string &base, const std::vector<DerivativeType> &kinds,
            std::uint64_t t0, std::uint64_t t1, Store *derived) {
    DerivedSeries<Store> derived_series(base, derived);
    const auto *table = source.template find_table<HistogramBuckets>();
    if (!table) return;
    for (const auto &[metric_id, series_by_labels] : table->metrics) {
        if (strip_derivative_suffix(source.symbols().lookup(metric_id)) != base) continue;
        for (const auto &[label_set, series] : series_by_labels) {
            const LabelIds labels = translate_labels(source, label_set, derived);
            HistogramSamples samples;
            series.copy(series.range(t0, t1), &samples.timestamps, &samples.values);
            if (samples.timestamps.empty()) continue;
            for (const DerivativeType kind : kinds) derived_series.push(kind, labels, samples);
        }
    }
}

// The others are stored where one can't be, which is when its name is that of another metric.
template <typename Store>
bool store_derived(const Histogram &histogram, Store *store) {
    LabelIds labels;
    static_cast<void>(store->find_label_set(histogram.label_set_id, &labels));  // else none
    const HistogramSamples samples = {{histogram.timestamp},
                                      {{histogram.buckets, histogram.sum, histogram.count}}};
    const std::string base = strip_derivative_suffix(histogram.name);
    const bool takes_all = store->takes_name(histogram.name);
    DerivedSeries<Store> derived_series(base, store);
    bool done = true;
    for (const DerivativeType kind : all_kinds) {
        if (!takes_all && !store->takes_name(get_derivative_name(base, kind))) continue;
        try {
            derived_series.push(kind, labels, samples);
        } catch (const std::runtime_error &error) {
            VRN_LOG(VRN_LOG_ERROR,
                    "[vrn typed metrics data] Failed to derive from histogram %s: %s",
                    histogram.name.c_str(), error.what());
            done = false;
        }
    }
    return done;
}

}  // namespace

template <typename Store>
bool store_histogram(const Histogram &histogram, Store *store) {
    if (store->derives_histograms()) return store_derived(histogram, store);
    if (!store->takes_name(histogram.name)) return true;
    // Deliberate: a filter that skips unchanged values has no say here.
    const std::uint64_t metric_id = store->intern(histogram.name);
    store->template get_series<HistogramBuckets>(metric_id, histogram.label_set_id)
        .push(histogram.timestamp, {histogram.buckets, histogram.sum, histogram.count});
    return true;
}

template <typename Store>
bool is_histogram_metric(const std::string &name, Store *store) {
    if (is_derivative_name(name)) return true;
    try {
        for (const auto &[metric_id, series] :
             store->template get_table<HistogramBuckets>().metrics) {
            try {
                if (store->symbols().lookup(metric_id) == name) return true;
            } catch (const SymbolTable::SymbolNotFoundError &) {
                continue;  // its name was released
            }
        }
    } catch (...) {
        return false;
    }
    return false;
}

template <typename Store>
void generate_histogram_derivative(std::unique_ptr<Store> *derived, const Store &source,
                                   const std::string &name, std::uint64_t t0, std::uint64_t t1) {
    // The owner first: it keeps what was built when a name can't be resolved. Deliberate: the
    // default capacity stays 0, so that a derived series without an entry of its own holds one
    // sample.
    *derived = std::make_unique<Store>(source.metric_capacities());
    const std::vector<DerivativeType> kinds = kinds_of(name);
    derive(source, strip_derivative_suffix(name), kinds, t0, t1, derived->get());
    VRN_LOG(VRN_LOG_DEBUG,
            "[vrn typed metrics data] Generated histogram derivative data for: '%s' with %zu "
            "derivatives",
            name.c_str(), kinds.size());
}

template <typename Store>
void group_bucket_metrics(const Store &store, const std::vector<SeriesKey> &keys,
                          SeriesGroups *groups) {
    groups->clear();
    for (const SeriesKey &key : keys) {
        const std::string &name = store.symbols().lookup(key.metric_id);
        const LabelMap labels = store.labels_of(key);
        if (labels.empty()) {
            VRN_LOG(VRN_LOG_DEBUG, "[vrn typed metrics data] Failed to get labels for metric: %s",
                    name.c_str());
            continue;
        }
        std::string group = strip_derivative_suffix(name);
        for (const auto &[label, value] : labels)
            // Deliberate: in the order of the map, so sets that were made in different orders don't
            // meet.
            if (label != "le") group.append("|").append(label).append("=").append(value);
        (*groups)[group].push_back(key);
    }
    VRN_LOG(VRN_LOG_DEBUG,
            "[vrn typed metrics data] Grouped %zu histogram bucket metrics into %zu groups",
            keys.size(), groups->size());
}

template bool store_histogram(const Histogram &, MetricsHistory *);
template bool store_histogram(const Histogram &, MetricsCurrent *);
template bool is_histogram_metric(const std::string &, MetricsHistory *);
template bool is_histogram_metric(const std::string &, MetricsCurrent *);
template void generate_histogram_derivative(std::unique_ptr<MetricsHistory> *,
                                            const MetricsHistory &, const std::string &,
                                            std::uint64_t, std::uint64_t);
template void generate_histogram_derivative(std::unique_ptr<MetricsCurrent> *,
                                            const MetricsCurrent &, const std::string &,
                                            std::uint64_t, std::uint64_t);
template void group_bucket_metrics(const MetricsHistory &, const std::vector<SeriesKey> &,
                                   SeriesGroups *);
template void group_bucket_metrics(const MetricsCurrent &, const std::vector<SeriesKey> &,
                                   SeriesGroups *);

}  // namespace vrn::metrics
