#include "vrn_serve/live_store.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <map>
#include <span>
#include <type_traits>

namespace vrn::serve {
namespace {

using metrics::LabelIds;
using metrics::LabelMap;
using metrics::MetricsHistory;
using metrics::SeriesKey;
using metrics::StoredValue;
using metrics::StoreFull;

constexpr std::uint64_t second_us = 1'000'000;
// A series counts as ended when it was silent for this long and for this many of its intervals.
constexpr std::uint64_t silence_us = 60 * second_us;
constexpr std::uint64_t silent_intervals = 10;
// With fewer a curve tells nothing: new series are refused instead.
constexpr std::uint64_t least_samples = 16;
// Ages are looked at in steps of this part of --keep, so that trimming stays cheap.
constexpr std::uint64_t keep_steps = 64;
// Series between two of which readers get their turn.
constexpr std::size_t series_per_turn = 128;

template <typename T>
using Series = MetricsHistory::Series<T>;

// A sample of any type of number, ordered by time.
struct Point {
    std::uint64_t time_us;
    // As bits, values of all types compare, and a NaN equals itself.
    std::uint64_t bits;
    auto operator<=>(const Point &) const = default;
};

template <typename T>
std::vector<Point> points_of(const Series<T> &series) {
    std::vector<Point> points;
    points.reserve(series.values.size());
    for (std::uint64_t i = 0; i < series.values.size(); ++i)
        points.push_back({series.timestamps[i], std::bit_cast<std::uint64_t>(series.values[i])});
    return points;
}

template <typename T>
void push(const Point &point, Series<T> *series) {
    series->push(point.time_us, std::bit_cast<StoredValue<T>>(point.bits));
}

// Gives the series other samples, the newest that fit, and may give it another capacity.
template <typename T>
void assign(const std::vector<Point> &points, std::uint64_t capacity, Series<T> *series) {
    series->timestamps = vrn::data::CircularBuffer<std::uint64_t>(capacity);
    series->values = vrn::data::CircularBuffer<StoredValue<T>>(capacity);
    const std::size_t first = points.size() - std::min<std::size_t>(points.size(), capacity);
    for (std::size_t i = first; i < points.size(); ++i) push(points[i], series);
}

template <typename T>
Point newest_of(const Series<T> &series) {
    const std::uint64_t last = series.values.size() - 1;
    return {series.timestamps[last], std::bit_cast<std::uint64_t>(series.values[last])};
}

// The samples of an intake in their order, each once, without those before `floor_us`.
template <typename T>
std::vector<Point> ordered_points(const Series<T> &series, std::uint64_t floor_us) {
    // Files are written in the order of time, mostly.
    std::vector<Point> points = points_of(series);
    if (!std::ranges::is_sorted(points)) std::ranges::sort(points);
    points.erase(std::unique(points.begin(), points.end()), points.end());
    const auto first = std::ranges::lower_bound(points, floor_us, {}, &Point::time_us);
    points.erase(points.begin(), first);
    return points;
}

// Returns how many of `points` the series took.
template <typename T>
std::size_t merge_points(std::span<const Point> points, Series<T> *series) {
    const std::uint64_t held = series->values.size();
    const std::uint64_t capacity = series->values.capacity();
    // The usual case, a file that grows: nothing has to be compared.
    if (held == 0 || newest_of(*series) < points.front()) {
        for (const Point &point : points) push(point, series);
        return points.size();
    }
    const std::vector<Point> old = points_of(*series);
    // Others would only push out what is newer.
    if (held == capacity) points = {std::ranges::lower_bound(points, old.front()), points.end()};
    std::vector<Point> all;
    all.reserve(old.size() + points.size());
    // Both are sorted and hold no sample twice, and so does their union.
    std::ranges::set_union(old, points, std::back_inserter(all));
    if (all.size() > old.size()) assign(all, capacity, series);
    return all.size() - old.size();
}

// The labels of a set as texts, made in one order: sets are told apart by the order of their map.
LabelMap label_texts(const MetricsHistory &store, std::uint64_t label_set) {
    LabelIds ids;
    if (!store.find_label_set(label_set, &ids)) return {};
    std::map<std::string, std::string> sorted;
    for (const auto &[name, value] : ids)
        sorted.emplace(store.symbols().lookup(name), store.symbols().lookup(value));
    return {sorted.begin(), sorted.end()};
}

// Calls `visit` with the key and the series of each series of numbers.
template <typename Visit>
void visit_numbers(const MetricsHistory &store, Visit visit) {
    const auto visit_table =
        // Histograms came in as the plain series derived from them.
        [&]<typename T>(const metrics::TypedTable<T, vrn::data::CircularBuffer> &table) {
            if constexpr (std::is_arithmetic_v<StoredValue<T>>)
                for (const auto &[metric_id, entries] : table.series_in_order)
                    for (auto *entry : entries)
                        visit(SeriesKey{metric_id, entry->first}, entry->second);
            return false;
        };
    store.any_table(visit_table);
}

// A store whose texts are in their form already.
std::unique_ptr<MetricsHistory> make_history(std::uint64_t samples) {
    auto store = std::make_unique<MetricsHistory>();
    store->set_default_capacity(samples);
    return store;
}

std::uint64_t now_us() {
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(
                                          std::chrono::system_clock::now().time_since_epoch())
                                          .count());
}

// Times come from files: one that lies ahead must not wrap around.
std::uint64_t difference(std::uint64_t a, std::uint64_t b) {
    return a - std::min(a, b);
}

bool has_ended(std::uint64_t oldest_us, std::uint64_t newest_us, std::uint64_t samples,
               std::uint64_t reference_us) {
    const std::uint64_t interval_us = (newest_us - oldest_us) / std::max<std::uint64_t>(samples, 1);
    // Divided rather than multiplied: times from files would overflow.
    return difference(reference_us, newest_us) / silent_intervals > interval_us &&
           difference(reference_us, newest_us) > silence_us;
}

}  // namespace

// Adds the series of one intake.
struct LiveStore::Merge {
    template <typename T>
    void operator()(const SeriesKey &key, const Series<T> &series) {
        if (in_turn++ % series_per_turn == 0) {
            lock.unlock();
            lock.lock();
            // Others had the lock meanwhile.
            floor_us = live.floor_us();
        }
        const std::vector<Point> points = ordered_points(series, floor_us);
        if (points.empty()) return;
        Series<T> *into = find_or_add<T>(intake.symbols().lookup(key.metric_id),
                                         label_texts(intake, key.label_set));
        if (!into) {
            ++live.state_.refused_series;
            return;
        }
        into->metric_type = series.metric_type;
        const std::size_t taken = merge_points(points, into);
        // Pages made of this content stay good when nothing came.
        if (taken > 0) ++live.version_;
        live.state_.taken_samples += taken;
        live.state_.newest_us = std::max(live.state_.newest_us, points.back().time_us);
    }

    // Null when there is no room, or when the metric has another type.
    template <typename T>
    Series<T> *find_or_add(const std::string &name, const LabelMap &labels) {
        for (;;) {
            try {
                // Looked up each time round: make_room() replaces the store.
                MetricsHistory &store = *live.store_;
                return &store.get_series<T>(store.intern(name), store.intern_labels(labels));
            } catch (const StoreFull &) {
                if (!live.make_room()) return nullptr;
            } catch (const std::runtime_error &) {
                return nullptr;
            }
        }
    }

    LiveStore &live;
    const MetricsHistory &intake;
    std::unique_lock<std::mutex> lock;
    std::size_t in_turn = 0;
    std::uint64_t floor_us = 0;
};

LiveStore::LiveStore(const StoreLimits &limits, const series::SeriesOptions *options)
    : limits_(limits), options_(options) {
    clear();
}

std::unique_ptr<MetricsHistory> LiveStore::make_intake() const {
    auto intake = make_history(limits_.samples);
    // Half, as intake and store take memory at the same time.
    intake->set_max_bytes(limits_.max_bytes / 2);
    series::prepare_store(*options_, intake.get());
    return intake;
}

void LiveStore::take(const MetricsHistory &intake) {
    Merge merge = {*this, intake, std::unique_lock(mutex_)};
    visit_numbers(intake, [&](const SeriesKey &key, const auto &series) { merge(key, series); });
}

void LiveStore::expire() {
    const std::lock_guard guard(mutex_);
    const std::uint64_t floor = floor_us();
    const std::uint64_t trim_below = difference(floor, limits_.keep_us / keep_steps);
    bool any_ended = false;
    visit_numbers(*store_, [&]<typename T>(const SeriesKey &, Series<T> &series) {
        if (series.values.size() == 0) return;
        any_ended |= newest_of(series).time_us < floor;
        if (series.timestamps[0] >= trim_below) return;
        assign(ordered_points(series, floor), series.values.capacity(), &series);
        ++version_;
    });
    // Series whose samples are all gone still hold names, which only a rebuild gives back.
    if (any_ended) rebuild([&](auto, std::uint64_t newest_us, auto) { return newest_us >= floor; });
}

void LiveStore::clear() {
    const std::lock_guard guard(mutex_);
    // What counts since the start stays; the bounds begin anew.
    state_.samples_limit = limits_.samples;
    state_.keep_us = limits_.keep_us;
    state_.is_short_of_memory = false;
    store_ = make_history(limits_.samples);
    store_->set_max_bytes(limits_.max_bytes);
    ++version_;
}

std::uint64_t LiveStore::oldest_wanted_us() const {
    const std::lock_guard guard(mutex_);
    return floor_us();
}

StoreState LiveStore::state() const {
    const std::lock_guard guard(mutex_);
    StoreState state = state_;
    visit_numbers(*store_, [&](const SeriesKey &, const auto &) { ++state.series; });
    return state;
}

std::uint64_t LiveStore::version() const {
    const std::lock_guard guard(mutex_);
    return version_;
}

void LiveStore::read(const std::function<void(const MetricsHistory &store)> &use) const {
    const std::lock_guard guard(mutex_);
    use(*store_);
}

// What ages count from. A file that claims times to come makes nothing old.
std::uint64_t LiveStore::reference_us() const {
    return std::min(state_.newest_us, now_us());
}

std::uint64_t LiveStore::floor_us() const {
    return limits_.keep_us == 0 ? 0 : difference(reference_us(), limits_.keep_us);
}

// Oldest first: the older half of the series that have ended or, where all go on, the older half of
// the samples of each. False when neither is left.
bool LiveStore::make_room() {
    state_.is_short_of_memory = true;
    const std::uint64_t reference = reference_us();
    std::vector<std::uint64_t> ended;
    visit_numbers(*store_, [&](const SeriesKey &, const auto &series) {
        const std::uint64_t samples = series.values.size();
        // An empty one goes before all others.
        if (samples == 0) return ended.push_back(0);
        const std::uint64_t newest_us = series.timestamps[samples - 1];
        if (has_ended(series.timestamps[0], newest_us, samples, reference))
            ended.push_back(newest_us);
    });
    if (ended.empty()) {
        if (state_.samples_limit <= least_samples) return false;
        state_.samples_limit = std::max(state_.samples_limit / 2, least_samples);
        rebuild([](auto, auto, auto) { return true; });
        return true;
    }
    const auto middle = ended.begin() + static_cast<std::ptrdiff_t>(ended.size() / 2);
    std::ranges::nth_element(ended, middle);
    rebuild([&](std::uint64_t oldest_us, std::uint64_t newest_us, std::uint64_t samples) {
        return newest_us > *middle || !has_ended(oldest_us, newest_us, samples, reference);
    });
    return true;
}

// Moves the series that `keep` wants into a new store: only so do the names and label sets of the
// others go, too.
void LiveStore::rebuild(const KeepSeries &keep) {
    const std::unique_ptr<MetricsHistory> old = std::move(store_);
    // Without a bound as yet: what stays had room before.
    store_ = make_history(state_.samples_limit);
    visit_numbers(*old, [&]<typename T>(const SeriesKey &key, Series<T> &series) {
        const std::uint64_t samples = series.values.size();
        if (samples == 0 || !keep(series.timestamps[0], series.timestamps[samples - 1], samples)) {
            ++state_.dropped_series;
            return;
        }
        Series<T> &moved =
            store_->get_series<T>(store_->intern(old->symbols().lookup(key.metric_id)),
                                  store_->intern_labels(label_texts(*old, key.label_set)));
        moved.metric_type = series.metric_type;
        // A copy would need memory just when it is short.
        if (series.values.capacity() == moved.values.capacity()) {
            moved.timestamps = std::move(series.timestamps);
            moved.values = std::move(series.values);
        } else {
            assign(points_of(series), moved.values.capacity(), &moved);
        }
    });
    store_->set_max_bytes(limits_.max_bytes);
    ++version_;
}

}  // namespace vrn::serve
