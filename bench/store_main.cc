// Benchmark of the metrics store and its chart page, medians of several runs.
//   vrn_store_bench [runs [folder]]
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "median.h"
#include "metrics/chart/chart_page.h"
#include "metrics/cntx_builder.h"
#include "metrics/store/metrics_feed.h"
#include "metrics/store/typed_metrics_data.h"
#include "utils/byte_reader.h"
#include "utils/log.h"

namespace vrn::bench {
namespace {

using metrics::MetricsCurrent;
using metrics::MetricsHistory;
using metrics::SeriesKey;

constexpr std::uint64_t start_time = 1'700'000'000'000'000;
constexpr std::uint64_t second = 1'000'000;
constexpr std::uint64_t long_capacity = 1000;
constexpr int metrics_per_set = 100;

// The series of a fleet: each label set has all metrics.
struct Fleet {
    int label_sets;
    std::uint64_t series() const {
        return static_cast<std::uint64_t>(label_sets) * metrics_per_set;
    }
};
constexpr Fleet whole_fleet = {100};
constexpr Fleet chart_fleet = {10};

template <typename Run>
double seconds_of(Run run) {
    const auto begin = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

std::string metric_name(int metric) {
    return "port_counter_" + std::to_string(metric) + "_total";
}

template <typename Store>
std::vector<SeriesKey> intern_series(const Fleet &fleet, Store *store) {
    std::vector<SeriesKey> keys;
    for (int set = 0; set < fleet.label_sets; ++set) {
        const std::uint64_t labels = store->intern_labels({{"host", "node" + std::to_string(set)},
                                                           {"device", "device0"},
                                                           {"port", std::to_string(set % 4)}});
        for (int metric = 0; metric < metrics_per_set; ++metric)
            keys.push_back({store->intern(metric_name(metric)), labels});
    }
    return keys;
}

// One sample of each series: a record for each label set.
std::string make_block(const Fleet &fleet, std::uint64_t round) {
    metrics::CntxBuilder builder;
    const std::uint8_t set_id = builder.add_label_set({"host", "device", "port"});
    for (int set = 0; set < fleet.label_sets; ++set) {
        metrics::CntxRecord record = {.timestamp = start_time + round * second,
                                      .label_set_id = set_id,
                                      .labels = {builder.label_by_id("node" + std::to_string(set)),
                                                 builder.label_by_id("device0"),
                                                 builder.label_by_id(std::to_string(set % 4))}};
        for (int metric = 0; metric < metrics_per_set; ++metric)
            record.samples.push_back({builder.add_metric(metric_name(metric)), round * 1000});
        builder.add_record(record);
    }
    return builder.build();
}

// Rounds of one sample for each series, straight to the series.
template <typename Store>
void push_rounds(const std::vector<SeriesKey> &keys, std::uint64_t rounds, Store *store) {
    for (std::uint64_t round = 0; round < rounds; ++round)
        for (const SeriesKey &key : keys)
            store->template get_series<vrn::data::metrics::UInt64Tag>(key.metric_id, key.label_set)
                .push(start_time + round * second, round * 1000);
}

std::size_t heap_in_use() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

struct StoreFigures {
    std::vector<double> stored_rates;  // samples a second
    std::vector<double> fed_rates;     // the same out of CNTX blocks
    double heap = 0;                   // bytes a series
    double footprint = 0;              // the same as the store tells it
};

template <typename Store>
void measure_memory(std::uint64_t capacity, StoreFigures *figures) {
    const std::size_t before = heap_in_use();
    Store store;
    store.set_default_capacity(capacity);
    push_rounds(intern_series(whole_fleet, &store), 1, &store);
    const auto series = static_cast<double>(whole_fleet.series());
    figures->heap = static_cast<double>(heap_in_use() - before) / series;
    figures->footprint = static_cast<double>(store.footprint()) / series;
}

template <typename Store>
void measure_storing(std::uint64_t capacity, const std::vector<std::string> &blocks,
                     StoreFigures *figures) {
    constexpr std::uint64_t rounds = 100;
    const auto samples = static_cast<double>(rounds * whole_fleet.series());
    Store store;
    store.set_default_capacity(capacity);
    const std::vector<SeriesKey> keys = intern_series(whole_fleet, &store);
    push_rounds(keys, capacity, &store);
    const std::string name = "m";  // for messages only
    const double stored = seconds_of([&] {
        for (std::uint64_t round = 0; round < rounds; ++round) {
            for (const SeriesKey &key : keys)
                static_cast<void>(store_sample(
                    1, round, {name, key, 'C', start_time + round * second}, nullptr, &store));
        }
    });
    const double fed = seconds_of([&] {
        for (std::uint64_t round = 0; round < rounds; ++round)
            parse_cntx_block_into_store(bytes_of(blocks[round % blocks.size()]), nullptr, &store);
    });
    if (store.series_keys().size() != keys.size())
        throw std::runtime_error("the blocks hold other series");
    figures->stored_rates.push_back(samples / stored);
    figures->fed_rates.push_back(samples / fed);
}

template <typename Store>
void report_storing(const char *name, std::uint64_t capacity, int runs) {
    std::vector<std::string> blocks;
    for (std::uint64_t round = 0; round < 10; ++round)
        blocks.push_back(make_block(whole_fleet, round));
    StoreFigures figures;
    measure_memory<Store>(capacity, &figures);
    for (int i = 0; i < runs; ++i) measure_storing<Store>(capacity, blocks, &figures);
    std::printf("| %-21s | %10.0f | %13.0f | %13.0f | %11.0f |\n", name,
                median(figures.stored_rates), median(figures.fed_rates), figures.heap,
                figures.footprint);
    std::fflush(stdout);
}

// Reads every series `calls` times.
void consume(const MetricsHistory &store, const std::vector<SeriesKey> &keys,
             std::uint64_t consumer_id, std::uint64_t calls, std::uint64_t samples_per_call) {
    std::vector<std::uint64_t> timestamps;
    std::vector<std::uint64_t> values;
    for (std::uint64_t call = 0; call < calls; ++call)
        for (const SeriesKey &key : keys)
            store.read_unread<vrn::data::metrics::UInt64Tag>(consumer_id, key, &timestamps, &values,
                                                             samples_per_call);
}

// Samples a second of all consumers together, one in each thread. Ids are new for each run, so
// that all samples are unread.
double reading_rate(const MetricsHistory &store, const std::vector<SeriesKey> &keys, int consumers,
                    std::uint64_t calls, std::uint64_t samples_per_call) {
    static std::uint64_t next_consumer_id = 1;
    const double seconds = seconds_of([&] {
        std::vector<std::jthread> threads;
        threads.reserve(consumers);
        for (int i = 0; i < consumers; ++i)
            threads.emplace_back(consume, std::cref(store), std::cref(keys), next_consumer_id++,
                                 calls, samples_per_call);
    });
    return static_cast<double>(keys.size() * calls * samples_per_call) * consumers / seconds;
}

void report_reading(const MetricsHistory &store, const std::vector<SeriesKey> &keys, int consumers,
                    int runs) {
    std::vector<double> whole;
    std::vector<double> single;
    for (int i = 0; i < runs; ++i) {
        whole.push_back(reading_rate(store, keys, consumers, 1, long_capacity));
        single.push_back(reading_rate(store, keys, consumers, 50, 1));
    }
    std::printf("| %9d | %21.0f | %17.0f |\n", consumers, median(whole), median(single));
    std::fflush(stdout);
}

double page_seconds(const MetricsHistory &store, const std::string &target) {
    return seconds_of([&] {
        std::ofstream out(target, std::ios::binary);
        write_chart_page(out, store, 0);
        if (!out.flush()) throw std::runtime_error("can't write " + target);
    });
}

void report_page(const MetricsHistory &store, const std::string &folder, int runs) {
    const std::string page = folder + "/vrn-store-bench.html";
    std::vector<double> discarded;
    std::vector<double> written;
    for (int i = 0; i < runs; ++i) {
        discarded.push_back(page_seconds(store, "/dev/null"));
        written.push_back(page_seconds(store, page));
    }
    std::printf("\n| page size MB | to null device ms | to file ms |\n");
    std::printf("|--------------|-------------------|------------|\n");
    std::printf("| %12.2f | %17.0f | %10.0f |\n",
                static_cast<double>(std::filesystem::file_size(page)) / 1e6,
                1e3 * median(discarded), 1e3 * median(written));
    std::filesystem::remove(page);
}

// A store whose series are full.
std::unique_ptr<MetricsHistory> full_store(const Fleet &fleet, std::vector<SeriesKey> *keys) {
    auto store = std::make_unique<MetricsHistory>();
    store->set_default_capacity(long_capacity);
    *keys = intern_series(fleet, store.get());
    push_rounds(*keys, long_capacity, store.get());
    return store;
}

void run(int runs, const std::string &folder) {
    std::printf(
        "| 10,000 series         |  samples/s | out of blocks | heap B/series | footprint() |\n");
    std::printf(
        "|-----------------------|------------|---------------|---------------|-------------|\n");
    report_storing<MetricsHistory>("last 1 sample", 1, runs);
    report_storing<MetricsHistory>("last 1000 samples", long_capacity, runs);
    report_storing<MetricsCurrent>("single value, 1", 1, runs);
    report_storing<MetricsCurrent>("single value, 1000", long_capacity, runs);

    std::vector<SeriesKey> keys;
    {
        const auto store = full_store(whole_fleet, &keys);
        std::printf("\n| consumers | 1000 samples a call/s | 1 sample a call/s |\n");
        std::printf("|-----------|-----------------------|-------------------|\n");
        for (const int consumers : {1, 2, 4}) report_reading(*store, keys, consumers, runs);
    }
    const auto store = full_store(chart_fleet, &keys);
    report_page(*store, folder, runs);
}

}  // namespace
}  // namespace vrn::bench

int main(int argc, char **argv) {
    vrn_init_stderr_logger(VRN_LOG_ERROR);
    const int runs = argc > 1 ? std::atoi(argv[1]) : 5;
    const std::string folder = argc > 2 ? argv[2] : std::filesystem::temp_directory_path().string();
    try {
        vrn::bench::run(std::max(runs, 1), folder);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_store_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
