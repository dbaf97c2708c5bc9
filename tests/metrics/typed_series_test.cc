#include "metrics/typed_series.h"

#include <gtest/gtest.h>

#include "metrics/circular_buffer.h"
#include "metrics/single_value_buffer.h"

namespace vrn::test {
namespace {

using Times = std::vector<std::uint64_t>;
using History = metrics::TypedSeries<double, data::CircularBuffer>;
using Current = metrics::TypedSeries<double, data::SingleValueBuffer>;

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
    EXPECT_EQ(values.size(), count);
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_EQ(values[i], static_cast<double>(times[i]) / 2);
    return times;
}

TEST(TypedSeries, CountsPushesAndOverwrites) {
    History series(2);
    EXPECT_EQ(series.metric_type, 71u);
    EXPECT_EQ(series.wrap_count, 1u);
    EXPECT_EQ(series.sample_count, 0u);
    push(series, 1, 2);
    EXPECT_EQ(series.wrap_count, 1u);
    EXPECT_EQ(series.sample_count, 2u);
    push(series, 3, 3);
    EXPECT_EQ(series.wrap_count, 2u);
    EXPECT_EQ(series.sample_count, 3u);
    Current current(2);
    push(current, 1, 3);
    EXPECT_EQ(current.wrap_count, 3u);
    EXPECT_EQ(current.sample_count, 3u);
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
}

TEST(TypedSeries, ALateConsumerStartsAtTheOldest) {
    struct Case {
        std::uint64_t pushes;  // after the first read
        Times read;
        std::uint64_t position;
        std::uint64_t generation;
        std::uint64_t base;
    };
    // The first read took samples 1 to 3 of a buffer for 4. One that is late by more than that
    // loses its base; just as much is still told apart.
    const Case cases[] = {
        {1, {4}, 3, 1, 3},
        {4, {4, 5, 6, 7}, 0, 1, 3},
        {5, {5, 6, 7, 8}, 0, 5, 4},
        {9, {9, 10, 11, 12}, 0, 9, 8},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.pushes);
        History series(4);
        push(series, 1, 3);
        EXPECT_EQ(read(series, 7), (Times{1, 2, 3}));
        push(series, 4, 3 + c.pushes);
        const metrics::MetricCursor cursor = series.sync_cursor(7);
        EXPECT_EQ(cursor.position, c.position);
        EXPECT_EQ(cursor.generation, c.generation);
        EXPECT_EQ(cursor.base, c.base);
        EXPECT_EQ(read(series, 7), c.read);
        EXPECT_EQ(read(series, 7), Times{});
        EXPECT_EQ(series.sync_cursor(7).base, 3 + c.pushes);
    }
}

TEST(TypedSeries, ASingleValueIsReadOnce) {
    Current series(1);
    EXPECT_EQ(read(series, 1), Times{});
    push(series, 1, 3);
    EXPECT_EQ(read(series, 1), Times{3});
    EXPECT_EQ(read(series, 1), Times{});
    push(series, 4, 4);
    EXPECT_EQ(read(series, 1), Times{4});
    push(series, 5, 9);
    EXPECT_EQ(read(series, 1), Times{9});
}

TEST(TypedSeries, RangesLeaveOutTheirStart) {
    struct Case {
        std::uint64_t t0;
        std::uint64_t t1;
        std::uint64_t first;
        std::uint64_t last;
    };
    // Holds 30, 40, 40, 50.
    const Case cases[] = {
        {0, 0, 0, 4},   {0, 29, 0, 0},  {0, 30, 0, 1},  {30, 40, 1, 3}, {29, 40, 0, 3},
        {40, 60, 3, 4}, {50, 60, 0, 0}, {40, 40, 0, 0}, {50, 30, 0, 0}, {40, 0, 0, 0},
    };
    History series(4);
    for (const std::uint64_t t : {10, 20, 30, 40, 40, 50}) series.push(t, 0);
    for (const Case &c : cases) {
        SCOPED_TRACE(std::to_string(c.t0) + " to " + std::to_string(c.t1));
        EXPECT_EQ(series.range(c.t0, c.t1).first, c.first);
        EXPECT_EQ(series.range(c.t0, c.t1).last, c.last);
    }
    EXPECT_EQ(series.last(3).first, 1u);
    EXPECT_EQ(series.last(9).first, 0u);
    EXPECT_EQ(series.last(9).last, 4u);
    EXPECT_EQ(History(4).range(1, 2).count(), 0u);
}

}  // namespace
}  // namespace vrn::test
