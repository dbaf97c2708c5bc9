#include "vrn_serve/live_store.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "serve_fixtures.h"

namespace vrn::serve {
namespace {

using test::add;
using test::Points;
using test::shown;
using vrn::data::metrics::UInt64Tag;

constexpr std::uint64_t second_us = 1'000'000;
const series::SeriesOptions options;

TEST(LiveStore, HoldsTheNewestSamplesInTheirOrderEachOnce) {
    LiveStore store({.samples = 4}, &options);
    // The last one is of another value at a time that is known.
    for (const Points &points :
         {Points{{30, 3}, {40, 4}}, {{20, 2}, {10, 1}}, {{20, 2}, {50, 5}, {50, 5}}, {{40, 9}}})
        add(&store, "m", "x", points);
    EXPECT_EQ(shown(store), "30,m,at=x,3 40,m,at=x,4 40,m,at=x,9 50,m,at=x,5 ");
    EXPECT_EQ(store.state().newest_us, 50);
    const std::uint64_t version = store.version();
    add(&store, "m", "x", {{10, 1}, {50, 5}});
    EXPECT_EQ(store.version(), version);  // nothing in it is new
    store.clear();
    EXPECT_EQ(shown(store), "");
    EXPECT_NE(store.version(), version);
}

TEST(LiveStore, KnowsASeriesByItsLabelsInAnyOrder) {
    LiveStore store({}, &options);
    std::vector<std::string> names;
    for (int i = 0; i < 20; ++i) names.push_back("label'" + std::to_string(i));
    for (std::uint64_t time : {1, 2}) {
        const auto intake = store.make_intake();
        metrics::LabelMap labels;
        labels.rehash(time * 100);
        for (const std::string &name : names) labels[name] = "v";
        intake->get_series<long>(intake->intern("m"), intake->intern_labels(labels)).push(time, -1);
        store.take(*intake);
        std::ranges::reverse(names);
    }
    EXPECT_EQ(store.state().series, 1);
    EXPECT_EQ(store.state().taken_samples, 2);
}

TEST(LiveStore, PassesOverValuesOfAnotherType) {
    LiveStore store({}, &options);
    add(&store, "m", "x", {{1, 1}});
    const auto intake = store.make_intake();
    intake->get_series<double>(intake->intern("m"), intake->intern_labels({})).push(2, 0.5);
    store.take(*intake);
    EXPECT_EQ(shown(store), "1,m,at=x,1 ");
    EXPECT_EQ(store.state().refused_series, 1);
}

TEST(LiveStore, DropsWhatIsOldButNotForTimesToCome) {
    LiveStore store({.keep_us = 64 * second_us}, &options);
    add(&store, "m", "old", {{100 * second_us, 1}});
    add(&store, "m", "new", {{130 * second_us, 2}, {170 * second_us, 3}, {205 * second_us, 4}});
    store.expire();
    EXPECT_EQ(shown(store), "170000000,m,at=new,3 205000000,m,at=new,4 ");
    EXPECT_EQ(store.state().dropped_series, 1);
    // It comes too late.
    add(&store, "m", "old", {{139 * second_us, 1}});
    EXPECT_EQ(store.oldest_wanted_us(), 141 * second_us);
    EXPECT_EQ(store.state().series, 1);
    const auto now_us =
        static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(
                                       std::chrono::system_clock::now().time_since_epoch())
                                       .count());
    add(&store, "n", "now", {{now_us, 5}, {now_us + 1000 * 3600 * second_us, 6}});
    store.expire();
    EXPECT_EQ(store.state().series, 1);
    EXPECT_GE(store.state().taken_samples, 6);
}

// Series of about 1,600 bytes each.
TEST(LiveStore, MakesRoomFromTheOldest) {
    LiveStore store({.samples = 64, .max_bytes = 100'000}, &options);
    const auto add_series = [&](const std::string &name, int count, std::uint64_t time_us) {
        for (int i = 0; i < count; ++i)
            add(&store, name, std::to_string(i), {{time_us - second_us, 1}, {time_us, 2}});
    };
    add_series("early", 20, 1000 * second_us);
    add_series("middle", 20, 2000 * second_us);
    add_series("late", 40, 3000 * second_us);
    EXPECT_EQ(shown(store).find("early"), std::string::npos);
    EXPECT_NE(shown(store).find("late"), std::string::npos);
    EXPECT_EQ(store.state().samples_limit, 64);
    EXPECT_EQ(store.state().refused_series, 0);
    // None has ended: all give up samples, until there are no more to give up.
    add_series("live", 240, 3000 * second_us);
    EXPECT_EQ(shown(store).find("middle"), std::string::npos);
    EXPECT_EQ(store.state().samples_limit, 16);
    EXPECT_GT(store.state().refused_series, 0);
    const std::uint64_t refused = store.state().refused_series;
    add(&store, "late", "0", {{3001 * second_us, 3}});
    EXPECT_NE(shown(store).find("3001000000,late,at=0,3"), std::string::npos);
    EXPECT_EQ(store.state().refused_series, refused);
}

TEST(LiveStore, ServesReadersWhileItChanges) {
    LiveStore store({.samples = 16, .max_bytes = 60'000, .keep_us = 100}, &options);
    std::thread writer([&] {
        for (std::uint64_t time = 1; time <= 600; ++time)
            add(&store, "m", std::to_string(time % 40), {{time, time}});
    });
    std::thread cleaner([&] {
        for (int i = 0; i < 60; ++i) i % 20 == 0 ? store.clear() : store.expire();
    });
    for (int i = 0; i < 60; ++i) {
        const std::string text = shown(store);
        EXPECT_EQ(std::ranges::count(text, ' ') * 3, std::ranges::count(text, ','));
    }
    writer.join();
    cleaner.join();
    add(&store, "m", "last", {{700, 1}});
    store.expire();
    EXPECT_TRUE(shown(store).ends_with("700,m,at=last,1 "));
}

}  // namespace
}  // namespace vrn::serve
