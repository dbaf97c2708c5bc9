#include "metrics/metrics_feed.h"

#include <gtest/gtest.h>

#include <boost/container_hash/hash.hpp>

#include <bit>
#include <cmath>

#include "metrics/metrics_parser.h"
#include "support/byte_builder.h"
#include "support/captured_log.h"
#include "support/stream_blocks.h"

namespace vrn::test {
namespace {

using data::metrics::Bit64Tag;
using data::metrics::UInt64Tag;
using metrics::CntxBuilder;
using metrics::MetricFilter;
using metrics::MetricsCurrent;
using metrics::MetricsHistory;
using metrics::SeriesKey;
using metrics::ValueType;
using metrics::VrnMetricsParser;
using Lines = std::vector<std::string>;

const std::string warning = "4 [vrn metrics parser] ";
const std::string error = "3 [vrn metrics parser] ";

std::string text_of(const std::string &value) {
    return value;
}
template <typename T>
std::string text_of(T value) {
    return std::to_string(value);
}
std::string text_of(const metrics::HistogramBuckets &value) {
    return std::to_string(value.buckets.size()) + "/" + std::to_string(value.count);
}

// "name{labels} type timestamp=value ..." of each series, sorted.
template <typename Store>
Lines shown(const Store &store) {
    Lines lines;
    store.any_table([&](const auto &table) {
        for (const auto &[id, series_by_labels] : table.metrics)
            for (const auto &[label_set, series] : series_by_labels) {
                std::string line = store.symbols().lookup(id) + "{" + store.label_text(label_set) +
                                   "} " + static_cast<char>(series.metric_type);
                for (std::uint64_t i = 0; i < series.values.size(); ++i)
                    line += " " + std::to_string(series.timestamps[i]) + "=" +
                            text_of(series.values[i]);
                lines.push_back(line);
            }
        return false;
    });
    std::ranges::sort(lines);
    return lines;
}

// Feeds `bytes` and returns how many of them are left.
template <typename Store>
std::size_t feed(const std::string &bytes, Store *store, const MetricFilter *filter = nullptr) {
    return VrnMetricsParser::parse_cntx_blocks_into_store(ExactBytes(bytes), filter, store).size();
}

std::string block_of(metrics::CntxRecord record, std::uint16_t metrics_count = 1) {
    CntxBuilder builder;
    builder.add_label_set({"cpu"});
    for (std::uint16_t i = 0; i < metrics_count; ++i) builder.add_metric("m" + std::to_string(i));
    builder.add_record(record);
    return builder.build();
}

TEST(MetricsFeed, StoresTheSamplesOfAllBlocks) {
    const std::string block = sample_stream().build();
    const std::string again = with_bytes(block, "CNTD", 8 + 2, std::string("\x88\x13", 2));
    CapturedLog log;
    MetricsHistory history;
    history.set_default_capacity(10);
    EXPECT_EQ(feed("noise" + block + "noise" + again + "end", &history), 3u);
    const std::string mismatch =
        "Failed to store typed value for metric idle (type=2, value=11): "
        "Type mismatch for metric 'idle'";
    const std::string lost =
        "Could not store metric idle (id=1, value=11) - continuing with next metrics";
    EXPECT_EQ(log.take(),
              (Lines{error + mismatch, warning + lost, error + mismatch, warning + lost}));
    const Lines expected = {"busy{cpu=cpu0|host=n1|mode=user} C 1000=7 5000=7",
                            "busy{host=n1} C 3000=13 3000=13",
                            "idle{cpu=cpu0|host=n1|mode=user} C 1000=9 5000=9"};
    EXPECT_EQ(shown(history), expected);
    MetricsCurrent current;
    feed(block + again, &current);
    EXPECT_EQ(shown(current),
              (Lines{"busy{cpu=cpu0|host=n1|mode=user} C 5000=7", "busy{host=n1} C 3000=13",
                     "idle{cpu=cpu0|host=n1|mode=user} C 5000=9"}));
}

TEST(MetricsFeed, ReadsValuesByTheirType) {
    struct Case {
        std::uint8_t value_type;
        std::uint64_t value;
        ValueType stored;
        std::string text;
        Lines lines;
    };
    const std::string lost =
        warning + "Could not store metric m0 (id=0, value=7) - continuing with next metrics";
    const std::string fallback = " for metric m0, falling back to UInt64";
    const Case cases[] = {
        {1, ~0ull, ValueType::uint64, "18446744073709551615", {}},
        {2, std::bit_cast<std::uint64_t>(-0.25), ValueType::float64, "-0.250000", {}},
        {3, 0xf0, ValueType::bits64, "240", {}},
        {4, ~0ull, ValueType::int64, "-1", {}},
        {5,
         7,
         ValueType::unknown,
         "",
         {warning + "String value type in numeric metrics path for metric m0", lost}},
        {6, 7, ValueType::uint64, "7", {warning + "Unknown/unsupported value type 6" + fallback}},
        {0, 7, ValueType::uint64, "7", {warning + "Unknown/unsupported value type 0" + fallback}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(+c.value_type);
        CapturedLog log;
        MetricsCurrent store;
        feed(block_of({.timestamp = 5,
                       .metric_type = 'G',
                       .value_type = c.value_type,
                       .samples = {{0, c.value}}}),
             &store);
        EXPECT_EQ(store.metric_type("m0"), c.stored);
        EXPECT_EQ(shown(store), c.text.empty() ? Lines{} : Lines{"m0{} G 5=" + c.text});
        EXPECT_EQ(log.take(), c.lines);
    }
}

TEST(MetricsFeed, GivesUpABlockAtItsFault) {
    struct Case {
        const char *name;
        std::string block;
        Lines lines;
        std::size_t series;  // that were stored before the fault
    };
    const std::string block = sample_stream().build();
    const std::string given_up = warning + "Could not parse CNTX block 1: ";
    const std::string no_cntd = "Missing 'CNTD' magic number in the binary data";
    const std::string mismatch_lines[] = {
        error +
            "Failed to store typed value for metric idle (type=2, value=11): Type mismatch for "
            "metric 'idle'",
        warning + "Could not store metric idle (id=1, value=11) - continuing with next metrics"};
    const Case cases[] = {
        {"no records",
         without(block, "CNTD", block.size() - block.find("CNTD")),
         {error + "Invalid binary data format: Missing 'CNTD' magic number", given_up + no_cntd},
         0},
        {"half a trailer",
         with_bytes(block, "cntdcntx", 4, "x"),
         {given_up + "Invalid magic numbers in the binary data"},
         0},
        {"type H", with_bytes(block, "CNTD", 8 + 10, "H"), {given_up + "invalid metric type"}, 0},
        {"type D", with_bytes(block, "CNTD", 8 + 10, "D"), {given_up + "invalid metric type"}, 0},
        {"type A", with_bytes(block, "CNTD", 8 + 10, "A"), {given_up + "invalid metric type"}, 0},
        {"samples behind the end",
         with_bytes(block, "CNTD", 8 + 12, "\xff\xff"),
         {given_up + "num_samples exceeds available data"},
         0},
        {"sample id",
         with_bytes(block, "CNTD", 8 + 14 + 10, std::string("\2\0", 2)),
         {error + "invalid metric id: 2, total metric names size: 2",
          given_up + "invalid metric id"},
         1},
        {"no metric names",
         without(block, "CNTI", 18),
         {error + "invalid metric id: 0, total metric names size: 0",
          given_up + "invalid metric id"},
         0},
        {"more values than names",
         with_bytes(block, "LBLN", 4, std::string("\0", 1)),
         {given_up + "label count mismatch"},
         0},
        {"short blocksize",
         with_bytes(block, "CNTD", 4, std::string("\x22\0\0\0", 4)),
         {"3 [vrn labels block] parse_labels_block: start_offset (34) exceeds data size (34)",
          given_up + "start_offset exceeds data size"},
         0},
        {"size 0", with_total_size(block, 0), {warning + "Invalid block size 0 in CNTX block"}, 0},
        {"size 4",
         with_total_size(block, 4),
         {error + "Invalid binary data format: Missing 'CNTD' magic number", given_up + no_cntd},
         0},
        {"size behind the end",
         with_total_size(block, 0xffffffff),
         {mismatch_lines[0], mismatch_lines[1]},
         3},
        {"header cut", "CNTX123", {}, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        MetricsHistory store;
        feed(c.block, &store);
        EXPECT_EQ(log.take(), c.lines);
        EXPECT_EQ(store.series_keys().size(), c.series);
    }
}

TEST(MetricsFeed, GoesOnBehindABadBlock) {
    const std::string good = block_of({.timestamp = 5, .samples = {{0, 1}}});
    const std::string bad = with_bytes(good, "CNTD", 8 + 10, "x");
    CapturedLog log(7);
    MetricsHistory store;
    EXPECT_EQ(feed(good + bad + bad + with_total_size("CNTX....", 0) + good + "CNTX", &store), 4u);
    Lines kept;
    for (const std::string &line : log.take())
        if (line.find("CNTX block") != std::string::npos) kept.push_back(line);
    EXPECT_EQ(kept, (Lines{warning + "Could not parse CNTX block 2: invalid metric type",
                           warning + "Could not parse CNTX block 2: invalid metric type",
                           warning + "Invalid block size 0 in CNTX block",
                           "7 [vrn metrics parser] Processed 2 CNTX blocks"}));
}

TEST(MetricsFeed, TakesEveryShorterRange) {
    const std::string block = sample_stream().build();
    for (std::size_t size = 0; size < block.size(); ++size) {
        SCOPED_TRACE(size);
        CapturedLog log;
        MetricsHistory store;
        feed(block.substr(0, size), &store);
        EXPECT_EQ(store.series_keys().size(), 0u);
        feed(with_total_size(block.substr(0, std::max<std::size_t>(size, 8)) + "cntdcntx", 9999),
             &store);
        EXPECT_LE(store.series_keys().size(), 3u);
    }
}

TEST(MetricsFeed, ReportsOddRecords) {
    CapturedLog log;
    MetricsHistory store;
    feed(block_of({.timestamp = 0, .samples = {{0, 1}}}), &store);
    EXPECT_EQ(log.take(), Lines{error + "invalid timestamp in the metrics batch"});
    EXPECT_EQ(shown(store), Lines{"m0{} C 0=1"});
    feed(block_of({.timestamp = 1}), &store);
    EXPECT_EQ(log.take(), Lines{warning + "no samples in the metrics batch"});
}

TEST(MetricsFeed, ShowsTheWalkAtDebugLevel) {
    const std::string block = block_of({.timestamp = 5, .value_type = 3, .samples = {{0, 255}}});
    CapturedLog log(7);
    MetricsHistory store;
    feed(block, &store);
    Lines lines;
    for (const std::string &line : log.take())
        if (line.find("[vrn labels block] after") == std::string::npos) lines.push_back(line);
    const std::string p = "7 [vrn metrics parser] ";
    EXPECT_EQ(lines, (Lines{p + "data_len = 43", p + "End of data at 31", p + "blocksize= 39",
                            p + "offset=4 end=31",
                            "7 [vrn labels block] parse_labels_block: header - label_set_id=0, "
                            "encoded_label_value_count=0, encoding_type=M, called by unknown",
                            p + "Storing bit64 metric m0: 0xff",
                            p + "metric id: 0, ts: 5, name: m0, value: 255",
                            p + "Processed 1 CNTX blocks"}));
}

TEST(MetricsFeed, AFilterChoosesNewMetrics) {
    const std::string block = block_of({.timestamp = 5, .samples = {{0, 1}, {1, 2}, {2, 3}}}, 3);
    MetricFilter filter;
    filter.add_name("m1");
    MetricsHistory store;
    store.get_series<UInt64Tag>(store.intern("m2"), 7);
    CapturedLog log;
    feed(block, &store, &filter);
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_EQ(shown(store), (Lines{"m1{} C 5=2", "m2{} C 5=3", "m2{} G"}));
}

TEST(MetricsFeed, AFilterLeavesStoredMetricsAloneWhateverTheirName) {
    CntxBuilder builder;
    builder.add_metric(MetricsHistory::RESERVED_NAME);
    builder.add_record({.timestamp = 5, .samples = {{0, 7}}});
    const MetricFilter nothing_new;
    MetricsHistory store;
    store.set_default_capacity(2);
    feed(builder.build(), &store);
    feed(builder.build(), &store, &nothing_new);
    EXPECT_EQ(shown(store), Lines{MetricsHistory::RESERVED_NAME + std::string("{} C 5=7 5=7")});
}

TEST(MetricsFeed, EndsAtANewSeriesOfAFullStore) {
    const std::string two = block_of({.timestamp = 5, .samples = {{0, 1}, {1, 2}}}, 2);
    const std::string three = block_of({.timestamp = 6, .samples = {{0, 3}, {2, 4}, {1, 5}}}, 3);
    MetricsHistory store;
    store.set_default_capacity(1000);
    store.set_max_series_bytes(2 * 16'000);
    CapturedLog log;
    feed(two, &store);
    EXPECT_THROW(feed(three + two, &store), metrics::StoreFull);
    EXPECT_EQ(shown(store), (Lines{"m0{} C 5=1 6=3", "m1{} C 5=2"}));
    EXPECT_EQ(log.take(), Lines{});
}

TEST(MetricsFeed, UnchangedValuesAreSkippedWhenAsked) {
    struct Case {
        std::uint32_t value_type;
        std::vector<std::uint64_t> values;
        std::size_t stored;
    };
    const auto bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
    const Case cases[] = {
        {1, {5, 5, 6, 5}, 3},
        {4, {~0ull, ~0ull, 1}, 2},
        {3, {bits(0.0), bits(-0.0)}, 2},
        {2, {bits(0.0), bits(-0.0), bits(1.5), bits(1.5)}, 2},
        {2, {bits(NAN), bits(NAN), bits(NAN)}, 3},
    };
    const auto count = [](const Case &c, const MetricFilter *filter, auto store) {
        const std::string name = "m";
        const std::uint64_t id = store.intern(name);
        std::uint64_t timestamp = 1;
        for (const std::uint64_t value : c.values)
            EXPECT_TRUE(store_sample(c.value_type, value, {name, {id, 0}, 'U', timestamp++}, filter,
                                     &store));
        return store.count_samples({id, 0}, 0, 0);
    };
    MetricFilter filter;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.value_type);
        const metrics::MetricCapacities capacities = {{boost::hash<std::string>()("m"), 9}};
        filter.set_skip_unchanged(true);
        EXPECT_EQ(count(c, &filter, MetricsHistory(capacities)), c.stored);
        EXPECT_EQ(count(c, &filter, MetricsCurrent(capacities)), 1u);
        EXPECT_EQ(count(c, nullptr, MetricsHistory(capacities)), c.values.size());
        filter.set_skip_unchanged(false);
        EXPECT_EQ(count(c, &filter, MetricsHistory(capacities)), c.values.size());
    }
}

TEST(MetricsFeed, StoresHistogramsUnderTheirLabels) {
    CntxBuilder builder;
    builder.add_label_set({"disk"});
    builder.add_constant_label("host", "n1");
    metrics::Histogram histogram;
    histogram.name = "lat";
    histogram.timestamp = 9;
    histogram.buckets = {{1, 2}, {2, 3}};
    histogram.count = 4;
    builder.add_histogram(histogram, {.labels = {builder.label_by_id("sda")}});
    builder.add_histogram(histogram, {.labels = {CntxBuilder::label_by_text("sdb")}});
    CapturedLog log;
    MetricsCurrent store;
    feed(builder.build(), &store);
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_EQ(shown(store),
              (Lines{"lat{disk=sda|host=n1} G 9=2/4", "lat{disk=sdb|host=n1} G 9=2/4"}));
    EXPECT_EQ(store.metric_type("lat"), ValueType::histogram);
}

TEST(MetricsFeed, BoundsTheLabelsOfABlock) {
    CntxBuilder builder;
    for (int i = 0; i < 3000; ++i) builder.add_constant_label(std::to_string(i), "");
    for (int i = 0; i < 10; ++i) builder.add_record({.timestamp = 1});
    CapturedLog log(3);
    MetricsHistory store;
    feed(builder.build(), &store);
    EXPECT_EQ(log.take(), Lines{});
    for (int i = 0; i < 90; ++i) builder.add_record({.timestamp = 1});
    CapturedLog warnings(4);
    feed(builder.build(), &store);
    EXPECT_EQ(warnings.take().back(),
              warning + "Could not parse CNTX block 1: too many labels in the block");
}

}  // namespace
}  // namespace vrn::test
