#include "metrics/store/metrics_feed.h"

#include <bit>
#include <cmath>

#include "metrics/metrics_parser.h"
#include "support/store_text.h"
#include "support/stream_blocks.h"

namespace vrn::test {
namespace {

using data::metrics::UInt64Tag;
using metrics::CntxBuilder;
using metrics::MetricFilter;
using metrics::MetricsCurrent;
using metrics::MetricsHistory;
using metrics::ValueType;
using metrics::VrnMetricsParser;

const std::string warning = "4 [vrn metrics parser] ";
const std::string error = "3 [vrn metrics parser] ";

// Feeds `bytes` and returns how many of them are left.
template <typename Store>
std::size_t feed(const std::string &bytes, Store *store, const MetricFilter *filter = nullptr) {
    return VrnMetricsParser::parse_cntx_blocks_into_store(ExactBytes(bytes), filter, store).size();
}

// A block of the metrics m0 to m2 and one record.
std::string block_of(const metrics::CntxRecord &record) {
    CntxBuilder builder;
    builder.add_label_set({"cpu"});
    for (const char *name : {"m0", "m1", "m2"}) builder.add_metric(name);
    builder.add_record(record);
    return builder.build();
}

// The lines of a sample of sample_stream(), whose metric has another type before.
const Lines mismatch = {
    error +
        "Failed to store typed value for metric idle (type=2, value=11): "
        "Type mismatch for metric 'idle'",
    warning + "Could not store metric idle (id=1, value=11) - continuing with next metrics"};

TEST(MetricsFeed, StoresTheSamplesOfAllBlocks) {
    const std::string block = sample_stream().build();
    const std::string again = with_bytes(block, "CNTD", 8 + 2, std::string("\x88\x13", 2));
    CapturedLog log;
    MetricsHistory history;
    history.set_default_capacity(10);
    EXPECT_EQ(feed("noise" + block + "noise" + again + "end", &history), 3u);
    EXPECT_EQ(log.take(), (Lines{mismatch[0], mismatch[1], mismatch[0], mismatch[1]}));
    EXPECT_EQ(shown(history), (Lines{"busy{cpu=cpu0|host=n1|mode=user} C 1000=7 5000=7",
                                     "busy{host=n1} C 3000=13 3000=13",
                                     "idle{cpu=cpu0|host=n1|mode=user} C 1000=9 5000=9"}));
    MetricsCurrent current;
    // Each block has a number that doesn't fit.
    const auto result = metrics::feed_cntx_blocks(ExactBytes(block + again), nullptr, &current);
    EXPECT_EQ(result.incomplete, 2u);
    EXPECT_EQ(shown(current),
              (Lines{"busy{cpu=cpu0|host=n1|mode=user} C 5000=7", "busy{host=n1} C 3000=13",
                     "idle{cpu=cpu0|host=n1|mode=user} C 5000=9"}));
}

TEST(MetricsFeed, ReadsValuesByTheirTypeAndReportsOddRecords) {
    using CntxRecord = metrics::CntxRecord;
    const std::string refused = "String value type in numeric metrics path for metric m0";
    const std::string lost =
        "Could not store metric m0 (id=0, value=7) - continuing with next metrics";
    const std::string fallback =
        "Unknown/unsupported value type 6 for metric m0, falling back to UInt64";
    const auto record = [](std::uint8_t value_type, std::uint64_t value) {
        return CntxRecord{
            .timestamp = 5, .metric_type = 'G', .value_type = value_type, .samples = {{0, value}}};
    };
    // clang-format off
    const struct { CntxRecord record; ValueType type; Lines stored, lines; } cases[] = {
        {record(1, ~0ull), ValueType::uint64, {"m0{} G 5=18446744073709551615"}, {}},
        {record(2, std::bit_cast<std::uint64_t>(-0.25)), ValueType::float64, {"m0{} G 5=-0.25"}, {}},
        {record(3, 0xf0), ValueType::bits64, {"m0{} G 5=240"}, {}},
        {record(4, ~0ull), ValueType::int64, {"m0{} G 5=-1"}, {}},
        {record(5, 7), ValueType::unknown, {}, {warning + refused, warning + lost}},
        {record(6, 7), ValueType::uint64, {"m0{} G 5=7"}, {warning + fallback}},
        {{.timestamp = 0, .samples = {{0, 1}}}, ValueType::uint64, {"m0{} C 0=1"},
         {error + "invalid timestamp in the metrics batch"}},
        {{.timestamp = 1}, ValueType::unknown, {}, {warning + "no samples in the metrics batch"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(+c.record.value_type);
        CapturedLog log;
        MetricsCurrent store;
        const std::string block = block_of(c.record);
        const auto result = metrics::feed_cntx_blocks(ExactBytes(block), nullptr, &store);
        EXPECT_EQ(result.incomplete, 0u);
        EXPECT_EQ(store.metric_type("m0"), c.type);
        EXPECT_EQ(shown(store), c.stored);
        EXPECT_EQ(log.take(), c.lines);
    }
}

TEST(MetricsFeed, GivesUpABlockAtItsFault) {
    const std::string block = sample_stream().build();
    const std::size_t records = block.find("CNTD");
    const std::string given_up = warning + "Could not parse CNTX block 1: ";
    const Lines no_records = {error + "Invalid binary data format: Missing 'CNTD' magic number",
                              given_up + "Missing 'CNTD' magic number in the binary data"};
    const auto no_metric = [&](const std::string &id, int names) {
        return Lines{error + "invalid metric id: " + id +
                         ", total metric names size: " + std::to_string(names),
                     given_up + "invalid metric id"};
    };
    // `series` are those that were stored before the fault.
    // clang-format off
    const struct { const char *name; std::string block; Lines lines; std::size_t series; } cases[] = {
        {"no records", without(block, "CNTD", block.size() - records), no_records, 0},
        {"half a trailer", with_bytes(block, "cntdcntx", 4, "x"),
         {given_up + "Invalid magic numbers in the binary data"}, 0},
        {"more labels than names", with_bytes(block, "CNTD", 8 + 14 + 20, "\1"), {given_up + "label count mismatch"}, 0},
        {"type H", with_bytes(block, "CNTD", 8 + 10, "H"), {given_up + "invalid metric type"}, 0},
        {"sample id", with_bytes(block, "CNTD", 8 + 14 + 10, std::string("\2\0", 2)), no_metric("2", 2), 1},
        {"no metric names", without(block, "CNTI", 18), no_metric("0", 0), 0},
        {"size 0", with_total_size(block, 0), {warning + "Invalid block size 0 in CNTX block"}, 0},
        {"size 4", with_total_size(block, 4), no_records, 0},
        {"size past the end", with_total_size(block, 0xffffffff), mismatch, 3},
        {"header cut", "CNTX123", {}, 0},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        MetricsHistory store;
        feed(c.block, &store);
        EXPECT_EQ(log.take(), c.lines);
        EXPECT_EQ(store.series_keys().size(), c.series);
    }
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

TEST(MetricsFeed, GoesOnAfterABadBlock) {
    const std::string good = block_of({.timestamp = 5, .samples = {{0, 1}}});
    const std::string bad = with_bytes(good, "CNTD", 8 + 10, "x");
    CapturedLog log(7);
    MetricsHistory store;
    const std::string bytes = good + bad + bad + with_total_size("CNTX....", 0) + good + "CNTX";
    const auto result = metrics::feed_cntx_blocks(ExactBytes(bytes), nullptr, &store);
    EXPECT_EQ(result.rest.size(), 4u);
    EXPECT_EQ(result.blocks, 2u);
    EXPECT_EQ(result.incomplete, 4u);  // the last one is cut short
    Lines kept = log.take();
    std::erase_if(kept, [](const auto &line) { return line.find("CNTX block") == line.npos; });
    EXPECT_EQ(kept, (Lines{warning + "Could not parse CNTX block 2: invalid metric type",
                           warning + "Could not parse CNTX block 2: invalid metric type",
                           warning + "Invalid block size 0 in CNTX block",
                           "7 [vrn metrics parser] Processed 2 CNTX blocks"}));
}

TEST(MetricsFeed, ShowsTheWalkAtDebugLevel) {
    const std::string block = block_of({.timestamp = 5, .value_type = 3, .samples = {{0, 255}}});
    CapturedLog log(7);
    MetricsHistory store;
    feed(block, &store);
    Lines lines = log.take();
    std::erase_if(lines, [](const auto &line) { return line.find("labels block") != line.npos; });
    const std::string p = "7 [vrn metrics parser] ";
    EXPECT_EQ(lines, (Lines{p + "data_len = 43", p + "End of data at 31", p + "blocksize= 39",
                            p + "offset=4 end=31", p + "Storing bit64 metric m0: 0xff",
                            p + "metric id: 0, ts: 5, name: m0, value: 255",
                            p + "Processed 1 CNTX blocks"}));
}

TEST(MetricsFeed, AFilterChoosesNewMetrics) {
    MetricFilter filter;
    filter.add_name("m1");
    MetricsHistory store;
    store.get_series<UInt64Tag>(store.intern("m2"), 7);
    const std::string block = block_of({.timestamp = 5, .samples = {{0, 1}, {1, 2}, {2, 3}}});
    CapturedLog log;
    feed(block, &store, &filter);
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_EQ(shown(store), (Lines{"m1{} C 5=2", "m2{} C 5=3", "m2{} G"}));

    // Whatever its name, a stored metric is no new one.
    CntxBuilder builder;
    builder.add_metric(MetricsHistory::RESERVED_NAME);
    builder.add_record({.timestamp = 5, .samples = {{0, 7}}});
    MetricsCurrent reserved;
    feed(builder.build(), &reserved);
    builder.add_record({.timestamp = 6, .samples = {{0, 8}}});
    feed(builder.build(), &reserved, &filter);
    EXPECT_EQ(shown(reserved), Lines{MetricsHistory::RESERVED_NAME + std::string("{} C 6=8")});
}

TEST(MetricsFeed, EndsAtANewSeriesOfAFullStore) {
    const std::string two = block_of({.timestamp = 5, .samples = {{0, 1}, {1, 2}}});
    const std::string three = block_of({.timestamp = 6, .samples = {{0, 3}, {2, 4}, {1, 5}}});
    MetricsHistory store;
    store.set_default_capacity(1000);
    store.set_max_bytes(2 * 16'000);
    CapturedLog log;
    feed(two, &store);
    EXPECT_THROW(feed(three + two, &store), metrics::StoreFull);
    EXPECT_EQ(shown(store), (Lines{"m0{} C 5=1 6=3", "m1{} C 5=2"}));
    EXPECT_EQ(log.take(), Lines{});
}

TEST(MetricsFeed, UnchangedValuesAreSkippedWhenAsked) {
    const auto bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
    const struct {
        std::uint32_t value_type;
        std::vector<std::uint64_t> values;
        std::size_t stored;
    } cases[] = {
        {1, {5, 5, 6, 5}, 3},
        {4, {~0ull, ~0ull, 1}, 2},
        {3, {bits(0.0), bits(-0.0)}, 2},
        {2, {bits(0.0), bits(-0.0), bits(1.5), bits(1.5)}, 2},
        {2, {bits(NAN), bits(NAN), bits(NAN)}, 3},
    };
    MetricFilter filter;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.value_type);
        const auto count = [&](const MetricFilter *used, auto store) {
            const std::string name = "m";
            const metrics::SeriesKey key = {store.intern(name), 0};
            store.set_default_capacity(9);
            for (const std::uint64_t value : c.values)
                EXPECT_TRUE(store_sample(c.value_type, value, {name, key, 'U', 1}, used, &store));
            EXPECT_TRUE(shown(store)[0].starts_with("m{} G 1="));  // "U" leaves the type
            return store.count_samples(key, 0, 0);
        };
        filter.set_skip_unchanged(true);
        EXPECT_EQ(count(&filter, MetricsHistory()), c.stored);
        EXPECT_EQ(count(&filter, MetricsCurrent()), 1u);
        EXPECT_EQ(count(nullptr, MetricsHistory()), c.values.size());
        filter.set_skip_unchanged(false);
        EXPECT_EQ(count(&filter, MetricsHistory()), c.values.size());
    }
}

TEST(MetricsFeed, StoresHistogramsUnderTheirLabels) {
    CntxBuilder builder;
    builder.add_label_set({"disk"});
    builder.add_constant_label("host", "n1");
    const metrics::Histogram histogram = {
        .buckets = {{1, 2}, {2, 3}}, .count = 4, .name = "lat", .timestamp = 9};
    builder.add_histogram(histogram, {.labels = {builder.label_by_id("sda")}});
    builder.add_histogram(histogram, {.labels = {CntxBuilder::label_by_text("sdb")}});
    CapturedLog log;
    MetricsCurrent store;
    feed(builder.build(), &store);
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_EQ(shown(store),
              (Lines{"lat{disk=sda|host=n1} G 9=2/4", "lat{disk=sdb|host=n1} G 9=2/4"}));
    EXPECT_EQ(store.metric_type("lat"), ValueType::histogram);

    const std::string second_lost = with_bytes(builder.build(), "sdb", 3, std::string("histHIST"));
    const auto result = metrics::feed_cntx_blocks(ExactBytes(second_lost), nullptr, &store);
    EXPECT_EQ(log.take(), Lines{error + "Error parsing histograms: Invalid binary data format: "
                                        "Truncated 'HIST' section"});
    EXPECT_EQ(result.incomplete, 1u);
}

TEST(MetricsFeed, TakesTheHistogramsOfASeriesInTheirOrder) {
    CntxBuilder builder;
    builder.add_label_set({"disk"});
    std::string expected = "lat{disk=sda} G";
    for (std::uint64_t time = 1; time <= 20; ++time) {
        builder.add_histogram({.name = "lat", .timestamp = time},
                              {.labels = {builder.label_by_id("sda")}});
        expected += " " + std::to_string(time) + "=0/0";
    }
    MetricsHistory history;
    history.set_default_capacity(20);
    feed(builder.build(), &history);
    EXPECT_EQ(shown(history), Lines{expected});
    MetricsCurrent current;
    feed(builder.build(), &current);
    EXPECT_EQ(shown(current), Lines{"lat{disk=sda} G 20=0/0"});
}

// `records` records of as many label sets, or of one, with constant labels.
std::string labelled_block(int constant_labels, int records, bool one_set) {
    CntxBuilder builder;
    builder.add_label_set({"a", "b"});
    for (int i = 0; i < constant_labels; ++i) builder.add_constant_label(std::to_string(i), "");
    std::vector<metrics::EncodedLabel> ids;
    for (int i = 0; i < 100; ++i) ids.push_back(builder.label_by_id(std::to_string(i)));
    for (int i = 0; i < records; ++i) {
        const int set = one_set ? 0 : i;
        builder.add_record({.timestamp = 1,
                            .encoding = metrics::LabelEncoding::ids,
                            .labels = {ids[set % 100], ids[set / 100]}});
    }
    return builder.build();
}

TEST(MetricsFeed, BoundsTheWorkOfLabelsNotTheirNumber) {
    CapturedLog log;
    MetricsCurrent store;
    const std::string no_samples = warning + "no samples in the metrics batch";
    feed(labelled_block(3000, 1000, true), &store);
    EXPECT_EQ(log.take(), Lines(1000, no_samples));  // one line for each record, and no other
    feed(labelled_block(150, 2000, false), &store);
    EXPECT_EQ(log.take(), Lines(2000, no_samples));
    const std::string hostile = labelled_block(3000, 1000, false);
    const std::size_t before = store.label_sets().size();
    feed(hostile, &store);
    EXPECT_EQ(store.label_sets().size() - before, (100'000 + 8 * hostile.size()) / 3002 - 1);
    EXPECT_EQ(log.take().back(),
              warning + "Could not parse CNTX block 1: too many labels in the block");

    store.set_max_bytes(1);
    EXPECT_THROW(feed(labelled_block(1, 1, true), &store), metrics::StoreFull);

    // Each record is a use of its labels.
    MetricsCurrent other;
    feed(labelled_block(0, 3, true), &other);
    const auto [hash, labels] = *other.label_sets().begin();
    for (int i = 0; i < 2; ++i) other.release_labels(labels);
    EXPECT_EQ(other.label_text(hash), "a=0|b=0");
    other.release_labels(labels);
    EXPECT_FALSE(other.symbols().find("a"));
}

}  // namespace
}  // namespace vrn::test
