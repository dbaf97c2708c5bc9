#include "series/stored_series.h"

#include <bit>
#include <stdexcept>

namespace vrn::series {
namespace {

using vrn::data::metrics::Bit64Tag;
using vrn::data::metrics::UInt64Tag;

// Calls `visit` with the series, which is made where it is missing, and the type of its values.
template <typename Visit>
void visit_series(const StoredSeries &series, metrics::MetricsHistory *store, Visit visit) {
    const auto [metric_id, label_set] = series.key;
    switch (series.type) {
        case metrics::ValueType::float64:
            return visit(store->get_series<double>(metric_id, label_set));
        case metrics::ValueType::bits64:
            return visit(store->get_series<Bit64Tag>(metric_id, label_set));
        case metrics::ValueType::int64:
            return visit(store->get_series<long>(metric_id, label_set));
        default:
            return visit(store->get_series<UInt64Tag>(metric_id, label_set));
    }
}

}  // namespace

std::optional<StoredSeries> open_series(const std::string &name, metrics::ValueType type,
                                        bool is_running_sum, std::uint64_t label_set,
                                        metrics::MetricsHistory *store) {
    const StoredSeries series = {{store->intern(name), label_set}, type};
    try {
        visit_series(series, store, [&](auto &made) {
            // The store's mark of a counter.
            if (is_running_sum) made.metric_type = 'C';
        });
    } catch (const std::runtime_error &) {
        // The name has another type. StoreFull is no runtime_error and passes.
        return std::nullopt;
    }
    return series;
}

void push_value(const StoredSeries &series, std::uint64_t time, std::uint64_t bits,
                metrics::MetricsHistory *store) {
    visit_series(series, store, [&]<typename T>(metrics::TypedSeries<T, data::CircularBuffer> &to) {
        to.push(time, std::bit_cast<metrics::StoredValue<T>>(bits));
    });
}

}  // namespace vrn::series
