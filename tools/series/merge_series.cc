#include "series/merge_series.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <utility>
#include <vector>

namespace vrn::series {
namespace {

using metrics::MetricsHistory;

template <typename T>
using History = metrics::TypedSeries<T, data::CircularBuffer>;

template <typename T>
void merge_samples(const History<T> &from, History<T> *into) {
    using Stored = metrics::StoredValue<T>;
    struct Sample {
        std::uint64_t time;
        Stored value;
    };
    std::vector<Sample> samples;
    samples.reserve(from.values.size() + into->values.size());
    const auto add = [&](const History<T> &series) {
        for (std::uint64_t i = 0; i < series.values.size(); ++i)
            samples.push_back({series.timestamps[i], series.values[i]});
    };
    add(from);
    add(*into);
    std::ranges::stable_sort(samples, {}, &Sample::time);
    const std::uint64_t capacity = into->values.capacity();
    const std::uint64_t count = std::min<std::uint64_t>(samples.size(), capacity);
    into->timestamps = data::CircularBuffer<std::uint64_t>(capacity);
    into->values = data::CircularBuffer<Stored>(capacity);
    into->cursors.clear();
    for (auto sample = samples.end() - static_cast<std::ptrdiff_t>(count); sample != samples.end();
         ++sample)
        into->push(sample->time, std::move(sample->value));
}

class Merge {
  public:
    Merge(const MetricsHistory &from, MetricsHistory *into) : from_(from), into_(into) {}

    bool run() {
        from_.any_table([this](const auto &table) {
            merge_table(table);
            return false;
        });
        return takes_all_;
    }

  private:
    template <typename T>
    void merge_table(const metrics::TypedTable<T, data::CircularBuffer> &table) {
        for (const auto &[metric_id, series_by_labels] : table.metrics) {
            into_->intern(from_.symbols().lookup(metric_id));
            for (const auto &[label_set, series] : series_by_labels) {
                try {
                    auto &target =
                        into_->template get_series<T>(metric_id, label_set_of(label_set));
                    target.metric_type = series.metric_type;
                    merge_samples(series, &target);
                } catch (const std::runtime_error &) {
                    takes_all_ = false;
                    break;  // of another type: so are all series of the name
                }
            }
        }
    }

    // A set has the same hash in both stores.
    std::uint64_t label_set_of(std::uint64_t label_set) {
        if (into_->label_sets().contains(label_set)) return label_set;
        const metrics::LabelIds &labels = from_.label_sets().at(label_set);
        for (const auto &[name, value] : labels) {
            into_->intern(from_.symbols().lookup(name));
            into_->intern(from_.symbols().lookup(value));
        }
        return into_->register_label_set(labels);
    }

    const MetricsHistory &from_;
    MetricsHistory *into_;
    bool takes_all_ = true;
};

}  // namespace

bool merge_series(const MetricsHistory &from, MetricsHistory *into) {
    return Merge(from, into).run();
}

}  // namespace vrn::series
