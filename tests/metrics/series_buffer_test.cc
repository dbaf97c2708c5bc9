#include <gtest/gtest.h>

#include <string>

#include "metrics/circular_buffer.h"
#include "metrics/single_value_buffer.h"

namespace vrn::test {
namespace {

using Texts = std::vector<std::string>;

template <typename Buffer>
Texts held(const Buffer &buffer) {
    Texts texts = {"old"};
    buffer.copy(0, buffer.size(), &texts);
    return texts;
}

TEST(CircularBuffer, KeepsTheLastElements) {
    data::CircularBuffer<std::string> buffer(3);
    const Texts expected[] = {{"0"},           {"0", "1"},      {"0", "1", "2"}, {"1", "2", "3"},
                              {"2", "3", "4"}, {"3", "4", "5"}, {"4", "5", "6"}};
    EXPECT_EQ(held(buffer), Texts{});
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(i);
        buffer.push(std::to_string(i));
        EXPECT_EQ(held(buffer), expected[i]);
        EXPECT_EQ(buffer[buffer.size() - 1], std::to_string(i));
    }
    Texts part;
    buffer.copy(1, 2, &part);
    EXPECT_EQ(part, (Texts{"5", "6"}));
    EXPECT_EQ(buffer.capacity(), 3u);
}

TEST(SingleValueBuffer, KeepsTheLastElement) {
    data::SingleValueBuffer<std::string> buffer(3);
    EXPECT_EQ(buffer.capacity(), 1u);
    EXPECT_EQ(held(buffer), Texts{});
    buffer.push("a");
    buffer.push("b");
    EXPECT_EQ(held(buffer), Texts{"b"});
    EXPECT_EQ(buffer[0], "b");
}

TEST(SingleValueBuffer, RefusesOtherElements) {
    data::SingleValueBuffer<int> buffer(1);
    const auto error_at = [&](std::uint64_t index) -> std::string {
        try {
            static_cast<void>(buffer[index]);
        } catch (const std::out_of_range &error) {
            return error.what();
        }
        return "";
    };
    EXPECT_EQ(error_at(0), "SingleValueBuffer index out of range");
    buffer.push(1);
    EXPECT_EQ(error_at(0), "");
    EXPECT_EQ(error_at(1), "SingleValueBuffer index out of range");
}

}  // namespace
}  // namespace vrn::test
