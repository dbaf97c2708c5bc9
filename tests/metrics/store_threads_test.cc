// Meant for ThreadSanitizer, which judges what no assertion sees.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <utility>

#include "metrics/metric_filter.h"
#include "metrics/metrics_feed.h"
#include "metrics/metrics_parser.h"
#include "support/stream_blocks.h"

namespace vrn::test {
namespace {

using data::metrics::UInt64Tag;
using metrics::CntxBuilder;
using metrics::MetricFilter;
using metrics::SeriesKey;

constexpr std::uint64_t rounds = 300;
constexpr std::uint64_t num_series = 4;
constexpr std::uint64_t capacity = 16;

// A store whose owner lets one thread write, or several read.
template <typename Store>
class GuardedStore {
  public:
    template <typename Use>
    void write(Use use) {
        const std::lock_guard turn(turn_);
        const std::unique_lock lock(mutex_);
        use(store_);
    }
    template <typename Use>
    void read(Use use) {
        std::unique_lock turn(turn_);
        const std::shared_lock lock(mutex_);
        turn.unlock();
        use(store_);
    }
    std::atomic<bool> done = false;

  private:
    std::mutex turn_;  // keeps readers from holding off the writer
    std::shared_mutex mutex_;
    Store store_;
};

// One sample of `round` in each series.
std::string block_of(std::uint64_t round) {
    CntxBuilder builder;
    const std::uint8_t set = builder.add_label_set({"series"});
    const std::uint16_t metric = builder.add_metric("m");
    for (std::uint64_t i = 0; i < num_series; ++i)
        builder.add_record({.timestamp = round,
                            .label_set_id = set,
                            .labels = {CntxBuilder::label_by_text(std::to_string(i))},
                            .samples = {{metric, round}}});
    return builder.build();
}

template <typename Store>
void write(GuardedStore<Store> &guarded, const MetricFilter &filter) {
    for (std::uint64_t round = 1; round <= rounds; ++round) {
        const std::string block = block_of(round);
        guarded.write([&](Store &store) {
            metrics::VrnMetricsParser::parse_cntx_blocks_into_store(bytes_of(block), &filter,
                                                                    &store);
        });
    }
    guarded.done = true;
}

// What one consumer has seen.
class Consumer {
  public:
    explicit Consumer(std::uint64_t id) : id_(id) {}

    // Reads some samples of each series; counts as faults those that don't go up.
    template <typename Store>
    void read(const Store &store) {
        const bool unread = store.has_unread(id_, "m");
        for (const SeriesKey &key : store.series_keys()) {
            store.template read_unread<UInt64Tag>(id_, key, &timestamps_, &values_, 5);
            if (!unread && !values_.empty()) ++faults_;
            for (const std::uint64_t value : values_)
                if (value <= std::exchange(newest_[key.label_set], value)) ++faults_;
        }
        has_unread_ = store.has_unread(id_, "m");
    }

    bool has_unread() const { return has_unread_; }

    bool saw_the_end_of_all() const {
        return faults_ == 0 && newest_.size() == num_series &&
               std::ranges::all_of(newest_, [](const auto &n) { return n.second == rounds; });
    }

  private:
    std::uint64_t id_;
    bool has_unread_ = true;
    int faults_ = 0;
    std::map<std::uint64_t, std::uint64_t> newest_;  // by label set
    std::vector<std::uint64_t> timestamps_;
    std::vector<std::uint64_t> values_;
};

// Reads until the writer is done and nothing is left.
template <typename Store>
void consume(GuardedStore<Store> &guarded, Consumer &consumer) {
    bool done = false;
    while (!done || consumer.has_unread()) {
        done = guarded.done;
        guarded.read([&](const Store &store) { consumer.read(store); });
    }
}

template <typename Store>
void run_threads() {
    GuardedStore<Store> guarded;
    guarded.write([](Store &store) { store.set_default_capacity(capacity); });
    MetricFilter filter;
    filter.add_name("m");
    Consumer consumers[] = {Consumer(1), Consumer(2), Consumer(3)};
    std::vector<std::thread> threads;
    threads.emplace_back([&] { write(guarded, filter); });
    for (Consumer &consumer : consumers) threads.emplace_back([&] { consume(guarded, consumer); });
    // Has the id of the first consumer, so both move one cursor.
    threads.emplace_back([&] {
        while (!guarded.done) guarded.read([](const Store &store) { store.has_unread(1, "m"); });
    });
    threads.emplace_back([&] {
        for (int i = 0; i < 100; ++i) filter.add_pattern("x", metrics::PatternKind::prefix);
    });
    for (std::thread &thread : threads) thread.join();
    for (const Consumer &consumer : consumers) EXPECT_TRUE(consumer.saw_the_end_of_all());
}

TEST(StoreThreads, ConsumersReadBesideEachOther) {
    run_threads<metrics::MetricsHistory>();
}

TEST(StoreThreads, ConsumersReadSingleValuesBesideEachOther) {
    run_threads<metrics::MetricsCurrent>();
}

}  // namespace
}  // namespace vrn::test
