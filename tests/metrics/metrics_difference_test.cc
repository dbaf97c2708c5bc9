#include "support/metrics_difference.h"

#include <gtest/gtest.h>

#include <random>

namespace vrn::test {
namespace {

TEST(MetricsDifference, NoneBetweenTheTextAndTheTreeOfABlock) {
    constexpr int rounds = 20000;
    std::mt19937_64 random(7);
    std::string choices(400, '\0');
    for (int round = 0; round < rounds; ++round) {
        for (char &byte : choices) byte = static_cast<char>(random());
        ASSERT_EQ(metrics_difference(choices), "") << round;
    }
}

}  // namespace
}  // namespace vrn::test
