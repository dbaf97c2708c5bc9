// Meant for ThreadSanitizer, which judges what no assertion sees.
#include <map>
#include <thread>

#include "metrics/store/metrics_feed.h"
#include "support/stream_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using data::metrics::UInt64Tag;
using metrics::CntxBuilder;
using metrics::SeriesKey;

constexpr std::uint64_t rounds = 100;
constexpr std::uint64_t num_series = 4;

// A sample of `round` in each series, and of a metric that nobody wants.
std::string block_of(std::uint64_t round) {
    CntxBuilder builder;
    const std::uint8_t set = builder.add_label_set({"series"});
    const std::uint16_t metric = builder.add_metric("m");
    const std::uint16_t other = builder.add_metric("n");
    for (std::uint64_t i = 0; i < num_series; ++i)
        builder.add_record({.timestamp = round,
                            .label_set_id = set,
                            .labels = {CntxBuilder::label_by_text(std::to_string(i))},
                            .samples = {{metric, round}, {other, round}}});
    return builder.build();
}

struct Consumer {
    std::uint64_t id;
    std::uint64_t faults = 0;
    std::map<std::uint64_t, std::uint64_t> newest = {};  // by label set

    // Reads all series; values that don't go up are faults.
    template <typename Store>
    void read(const Store &store) {
        std::vector<std::uint64_t> timestamps;
        std::vector<std::uint64_t> values;
        for (const SeriesKey &key : store.series_keys()) {
            store.template read_unread<UInt64Tag>(id, key, &timestamps, &values, 100);
            for (const std::uint64_t value : values)
                faults += value <= std::exchange(newest[key.label_set], value);
        }
    }
};

// The owner feeds while nobody reads; the filter may be changed meanwhile.
template <typename Store>
void run_threads() {
    Store store;
    store.set_default_capacity(16);
    metrics::MetricFilter filter;
    filter.add_pattern("m", metrics::PatternKind::exact);
    filter.set_use_patterns(true);
    const std::jthread changes([&](const std::stop_token &stop) {
        while (!stop.stop_requested()) filter.set_use_patterns(true);
    });
    Consumer consumers[] = {{1}, {2}, {3}};
    for (std::uint64_t round = 1; round <= rounds; ++round) {
        parse_cntx_block_into_store(bytes_of(block_of(round)), &filter, &store);
        {
            std::vector<std::jthread> threads;
            for (Consumer &consumer : consumers)
                threads.emplace_back([&] { consumer.read(store); });
            // Moves the cursors of the first consumer.
            threads.emplace_back([&] { store.has_unread(1, "m"); });
        }
        for (Consumer &consumer : consumers) consumer.faults += store.has_unread(consumer.id, "m");
    }
    for (const Consumer &consumer : consumers) {
        EXPECT_EQ(consumer.faults, 0u);
        EXPECT_EQ(consumer.newest.size(), num_series);
        for (const auto &[label_set, value] : consumer.newest) EXPECT_EQ(value, rounds);
    }
}

TEST(StoreThreads, ConsumersReadBesideEachOther) {
    run_threads<metrics::MetricsHistory>();
    run_threads<metrics::MetricsCurrent>();
}

}  // namespace
}  // namespace vrn::test
