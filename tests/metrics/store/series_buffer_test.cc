#include "metrics/store/circular_buffer.h"
#include "metrics/store/single_value_buffer.h"
#include "support/test.h"

namespace vrn::test {
namespace {

template <typename Buffer>
Lines held(const Buffer &buffer) {
    Lines texts = {"old"};
    buffer.copy(0, buffer.size(), &texts);
    return texts;
}

TEST(CircularBuffer, KeepsTheLastElements) {
    data::CircularBuffer<std::string> buffer(3);
    const Lines expected[] = {{"0"},           {"0", "1"},      {"0", "1", "2"}, {"1", "2", "3"},
                              {"2", "3", "4"}, {"3", "4", "5"}, {"4", "5", "6"}};
    EXPECT_EQ(held(buffer), Lines{});
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(i);
        buffer.push(std::to_string(i));
        EXPECT_EQ(held(buffer), expected[i]);
        EXPECT_EQ(buffer[buffer.size() - 1], std::to_string(i));
    }
    Lines part;
    buffer.copy(1, 2, &part);
    EXPECT_EQ(part, (Lines{"5", "6"}));
}

TEST(SingleValueBuffer, KeepsTheLastElement) {
    data::SingleValueBuffer<std::string> buffer(3);
    const auto error_at = [&](std::uint64_t index) {
        return error_of([&] { static_cast<void>(buffer[index]); });
    };
    const std::string out_of_range = "SingleValueBuffer index out of range";
    EXPECT_EQ(buffer.capacity(), 1u);
    EXPECT_EQ(held(buffer), Lines{});
    EXPECT_EQ(error_at(0), out_of_range);
    buffer.push("a");
    buffer.push("b");
    EXPECT_EQ(held(buffer), Lines{"b"});
    EXPECT_EQ(buffer[0], "b");
    EXPECT_EQ(error_at(1), out_of_range);
}

}  // namespace
}  // namespace vrn::test
