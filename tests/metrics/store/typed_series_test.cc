#include "metrics/store/typed_series.h"

#include "metrics/store/circular_buffer.h"
#include "metrics/store/single_value_buffer.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using Times = std::vector<std::uint64_t>;
using History = metrics::TypedSeries<double, data::CircularBuffer>;
using Current = metrics::TypedSeries<double, data::SingleValueBuffer>;

TEST(CircularBuffer, KeepsTheLastElements) {
    data::CircularBuffer<std::string> buffer(3);
    const Lines expected[] = {{"0"},           {"0", "1"},      {"0", "1", "2"}, {"1", "2", "3"},
                              {"2", "3", "4"}, {"3", "4", "5"}, {"4", "5", "6"}};
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(i);
        buffer.push(std::to_string(i));
        Lines held = {"old"};
        buffer.copy(0, buffer.size(), &held);
        EXPECT_EQ(held, expected[i]);
        EXPECT_EQ(buffer[buffer.size() - 1], std::to_string(i));
    }
}

TEST(SingleValueBuffer, HoldsOneElementAtMost) {
    data::SingleValueBuffer<int> buffer(3);
    const auto error_at = [&](std::uint64_t index) {
        return error_of([&] { static_cast<void>(buffer[index]); });
    };
    EXPECT_EQ(buffer.capacity(), 1u);
    EXPECT_EQ(error_at(0), "SingleValueBuffer index out of range");
    buffer.push(1);
    EXPECT_EQ(error_at(0) + error_at(1), "SingleValueBuffer index out of range");
}

// Pushes samples with the timestamps `first` to `last`, each twice its value.
template <typename Series>
void push(Series &series, std::uint64_t first, std::uint64_t last) {
    for (std::uint64_t t = first; t <= last; ++t) series.push(t, static_cast<double>(t) / 2);
}

// Timestamps that one read gives; checks the values against them.
template <typename Series>
Times read(Series &series, std::uint64_t consumer, std::uint64_t max_count = 100) {
    Times times = {1};
    std::vector<double> values = {1};
    const std::uint64_t count = series.read(consumer, &times, &values, max_count);
    EXPECT_EQ(times.size(), count);
    EXPECT_EQ(values.size(), times.size());
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_EQ(values[i], static_cast<double>(times[i]) / 2);
    return times;
}

TEST(TypedSeries, CountsPushesAndOverwrites) {
    const auto counts_after = [](auto series, std::uint64_t pushes) {
        push(*series, 1, pushes);
        EXPECT_EQ(series->metric_type, 71u);
        return std::pair(+series->wrap_count, +series->sample_count);
    };
    using Counts = std::pair<std::uint64_t, std::uint64_t>;
    EXPECT_EQ(counts_after(std::make_unique<History>(2), 2), Counts(1, 2));
    EXPECT_EQ(counts_after(std::make_unique<History>(2), 3), Counts(2, 3));
    EXPECT_EQ(counts_after(std::make_unique<Current>(2), 3), Counts(3, 3));
}

TEST(TypedSeries, EachConsumerReadsOnItsOwn) {
    History series(4);
    EXPECT_FALSE(series.has_unread(1));
    push(series, 1, 3);
    EXPECT_TRUE(series.has_unread(1));
    EXPECT_EQ(read(series, 1, 2), (Times{1, 2}));
    EXPECT_EQ(read(series, 1), Times{3});
    EXPECT_EQ(read(series, 1), Times{});
    EXPECT_FALSE(series.has_unread(1));
    push(series, 4, 5);
    EXPECT_EQ(read(series, 1, 0), Times{});
    EXPECT_EQ(read(series, 1), (Times{4, 5}));
    EXPECT_EQ(read(series, 2), (Times{2, 3, 4, 5}));
    Current current(1);
    EXPECT_EQ(read(current, 1), Times{});
    push(current, 1, 3);
    EXPECT_EQ(read(current, 1), Times{3});
    EXPECT_EQ(read(current, 1), Times{});
    push(current, 4, 9);
    EXPECT_EQ(read(current, 1), Times{9});
}

TEST(TypedSeries, ALateConsumerStartsAtTheOldest) {
    // The first read took samples 1 to 3 of a buffer for 4. One that is late by more than that
    // loses its base; just as much is still told apart.
    const struct {
        std::uint64_t pushes;  // after the first read
        Times read;
        metrics::MetricCursor cursor;
    } cases[] = {
        {1, {4}, {3, 1, 3}},
        {4, {4, 5, 6, 7}, {0, 1, 3}},
        {5, {5, 6, 7, 8}, {0, 5, 4}},
        {9, {9, 10, 11, 12}, {0, 9, 8}},
    };
    for (const auto &[pushes, expected, expected_cursor] : cases) {
        SCOPED_TRACE(pushes);
        History series(4);
        push(series, 1, 3);
        EXPECT_EQ(read(series, 7), (Times{1, 2, 3}));
        push(series, 4, 3 + pushes);
        const metrics::MetricCursor cursor = series.sync_cursor(7);
        EXPECT_EQ(cursor.position, expected_cursor.position);
        EXPECT_EQ(cursor.generation, expected_cursor.generation);
        EXPECT_EQ(cursor.base, expected_cursor.base);
        EXPECT_EQ(read(series, 7), expected);
        EXPECT_EQ(read(series, 7), Times{});
        EXPECT_EQ(series.sync_cursor(7).base, 3 + pushes);
    }
}

TEST(TypedSeries, RangesLeaveOutTheirStart) {
    History series(4);
    EXPECT_EQ(series.range(1, 2).count(), 0u);
    for (const std::uint64_t t : {10, 20, 30, 40, 40, 50}) series.push(t, 0);  // holds the last 4
    const struct {
        std::uint64_t t0, t1, first, last;
    } cases[] = {
        {0, 0, 0, 4},   {0, 29, 0, 0},  {0, 30, 0, 1},  {30, 40, 1, 3}, {29, 40, 0, 3},
        {40, 60, 3, 4}, {50, 60, 0, 0}, {40, 40, 0, 0}, {50, 30, 0, 0}, {40, 0, 0, 0},
    };
    for (const auto &[t0, t1, first, last] : cases) {
        SCOPED_TRACE(std::to_string(t0) + " to " + std::to_string(t1));
        EXPECT_EQ(series.range(t0, t1).first, first);
        EXPECT_EQ(series.range(t0, t1).last, last);
    }
    EXPECT_EQ(series.last(3).first, 1u);
    EXPECT_EQ(series.last(9).count(), 4u);
}

}  // namespace
}  // namespace vrn::test
