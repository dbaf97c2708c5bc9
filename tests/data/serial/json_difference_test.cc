#include "support/json_difference.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "support/captured_log.h"

namespace vrn::test {
namespace {

std::string random_bytes(std::mt19937_64 &random) {
    std::string bytes(800, '\0');
    for (char &byte : bytes) byte = static_cast<char>(random());
    return bytes;
}

// The GUID switch is cached for the life of a process: each state is tried in a child of its own.
void expect_no_difference(std::string (*difference)(std::string_view), const char *guid_switch) {
    constexpr int rounds = 2000;
    setenv("VRN_CONVERT_GUID_TO_HEX_STRING", guid_switch, 1);
    const CapturedLog log;
    std::mt19937_64 random(7);
    for (int round = 0; round < rounds; ++round) {
        const std::string found = difference(random_bytes(random));
        if (found.empty()) continue;
        std::fprintf(stderr, "round %d\n%s\n", round, found.c_str());
        _exit(1);
    }
    _exit(0);
}

TEST(JsonDifference, NoneBetweenTheTextAndTheTreeOfAnEvent) {
    for (const char *guid_switch : {"1", "0"})
        EXPECT_EXIT(expect_no_difference(event_difference, guid_switch), testing::ExitedWithCode(0),
                    "");
}

TEST(JsonDifference, NoneBetweenTheTextAndTheTreeOfACountersRow) {
    for (const char *guid_switch : {"1", "0"})
        EXPECT_EXIT(expect_no_difference(counters_difference, guid_switch),
                    testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vrn::test
