#include "support/metrics_difference.h"

#include <gtest/gtest.h>

#include <random>

#include "support/stream_blocks.h"

namespace vrn::test {
namespace {

TEST(MetricsDifference, NoneBetweenTheTextAndTheTreeOfABlock) {
    // Sizes that cut the block off, even within its own mark.
    const std::string block = sample_stream().build();
    for (std::uint32_t size = 0; size < block.size(); ++size) {
        const ExactBytes cut(with_total_size(block, size));
        ASSERT_EQ(metrics_block_difference(cut, true), "") << size;
    }
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
