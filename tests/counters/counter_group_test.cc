#include "counters/counter_group.h"

#include <gmock/gmock.h>

#include "counters/counter_fixtures.h"
#include "data/selection/name_tables.h"
#include "support/test.h"

namespace vrn::test {
namespace {

TEST(CounterGroup, KeepsCopiesOfAllButHidden) {
    vrn_counter_info_t counter = make_counter("n", VRN_DATA_STRING, VRN_STRING_BINARY, 4);
    counter.hidden = counter.mandatory = 1;
    counter.slot = 5;
    const vrn_counter_group_ptr group(vrn_counter_group_create("g", nullptr));
    ASSERT_TRUE(vrn_counter_group_add_counter(group.get(), &counter));
    EXPECT_STREQ(group->provider, "");
    EXPECT_EQ(group->num_counter_sets, 1U);
    const vrn_counter_info_t &copy = *group->counters[0];
    EXPECT_STREQ(copy.name, "n");
    EXPECT_NE(copy.name, counter.name);
    EXPECT_EQ((std::vector<std::uint32_t>{copy.data_type, copy.string_format, copy.length,
                                          copy.slot, copy.mandatory, copy.hidden}),
              (std::vector<std::uint32_t>{VRN_DATA_STRING, VRN_STRING_BINARY, 4, 5, 1, 0}));
}

TEST(CounterGroup, DestructionReportsMissingTextsAndGoesOn) {
    CapturedLog log;
    vrn_counter_info_t counter = make_counter("n", VRN_DATA_UINT64);
    counter.units = nullptr;
    vrn_counter_group_ptr group(vrn_counter_group_create("g", "p"));
    ASSERT_TRUE(vrn_counter_group_add_counter(group.get(), &counter));
    CString(group->provider).reset();
    group->provider = nullptr;
    group.reset();
    vrn_free_counter_group(nullptr);
    vrn_destroy_counter_info(nullptr);
    const auto names = [](const std::string &function) {
        return testing::MatchesRegex("4 on counter_group.cc, " + function +
                                     " [0-9]+ attempted to free NULL ptr");
    };
    EXPECT_THAT(log.take(), testing::ElementsAre(names("vrn_destroy_counter_info"),
                                                 names("vrn_free_counter_group")));
}

TEST(CounterGroup, GoesThroughItsHooks) {
    static int destroyed;
    destroyed = 0;
    vrn_provider_hooks_t hooks = {};
    hooks.destroy_group = [](vrn_counter_group_t *group) {
        ++destroyed;
        group->provider_hooks = nullptr;
        vrn_free_counter_group(group);
    };
    hooks.add_counter = [](vrn_counter_group_t *group, const vrn_counter_info_t *counter) {
        if (std::string(counter->name) == "bad") return false;
        ++group->num_counters;
        return true;
    };
    vrn_counter_group_ptr group(vrn_counter_group_create("g", "p"));
    group->provider_hooks = &hooks;
    const vrn_counter_info_t good = make_counter("good", 1);
    const vrn_counter_info_t bad = make_counter("bad", 1);
    EXPECT_TRUE(vrn_counter_group_add_counter(group.get(), &good));
    EXPECT_FALSE(vrn_counter_group_add_counter(group.get(), &bad));
    EXPECT_EQ(group->num_counters, 1U);
    EXPECT_STREQ(group->counters[0]->name, "good");
    group.reset();
    EXPECT_EQ(destroyed, 1);
}

TEST(CounterGroup, PrintsItsCounters) {
    const vrn_counter_group_ptr group(vrn_counter_group_create("g", "p"));
    vrn_counter_info_t counter = make_counter("rx", 1);
    counter.description = text("A description that is cut behind forty characters");
    ASSERT_TRUE(vrn_counter_group_add_counter(group.get(), &counter));
    EXPECT_EQ(
        captured_stream([&](std::FILE *stream) { vrn_counter_group_print(group.get(), stream); }),
        "------------------------------------------\n"
        "| Granularity per NODE (1 counter sets) \n"
        "------------------------------------------\n"
        "|  # | Active counter       | Description                             \n"
        "------------------------------------------\n"
        "|  0 | rx                   | A description that is cut behind forty c\n"
        "------------------------------------------\n");
    EXPECT_EQ(captured_stream([&](std::FILE *stream) { vrn_counter_info_print(&counter, stream); }),
              "| rx                                       | A description that is cut behind forty "
              "characters            |\n");
}

}  // namespace
}  // namespace vrn::test
