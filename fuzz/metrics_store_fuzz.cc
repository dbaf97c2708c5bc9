// Input: a range of CNTX blocks, whose metrics are counted, then stored under both policies and
// read in every way.
#include <string>

#include "metrics/metrics_parser.h"
#include "metrics/store/histogram_store.h"
#include "metrics/store/metrics_feed.h"

namespace {

using namespace vrn::metrics;

template <typename Store>
void read_all(const Store &store) {
    Samples samples;
    std::vector<std::uint64_t> timestamps;
    std::vector<std::uint64_t> values;
    SeriesGroups groups;
    for (const SeriesKey &key : store.series_keys()) {
        static_cast<void>(store.samples_in_range(key, 1, 1'700'000'000'000'000, &samples));
        store.last_samples(key, 2, &samples);
        store.template read_unread<vrn::data::metrics::UInt64Tag>(1, key, &timestamps, &values, 2);
        store.has_unread(1, key.metric_id);
        store.label_text(key.label_set);
        std::unique_ptr<Store> derived;
        generate_histogram_derivative(&derived, store, store.symbols().lookup(key.metric_id), 0, 0);
        group_bucket_metrics(*derived, derived->series_keys(), &groups);
    }
    store.footprint();
}

// Twice, so that the second time meets what the first one stored.
template <typename Store>
void feed(vrn::Bytes blocks, const MetricFilter *filter) {
    Store store;
    store.set_default_capacity(3);
    for (int i = 0; i < 2; ++i)
        VrnMetricsParser::parse_cntx_blocks_into_store(blocks, filter, &store);
    read_all(store);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    MetricCounts counts;
    static_cast<void>(VrnMetricsParser::count_metrics_from_cntx_blocks({data, size}, &counts));
    MetricFilter filter;
    filter.set_use_patterns(true);
    filter.set_skip_unchanged(true);
    filter.add_pattern("metric", PatternKind::prefix);
    feed<MetricsHistory>({data, size}, nullptr);
    feed<MetricsCurrent>({data, size}, &filter);
    return 0;
}
