#include "data/text/utf8.h"

#include "data/text/json_value.h"
#include "support/test.h"

namespace vrn::test {
namespace {

// All texts of four bytes from each side of each border of the rules.
TEST(Utf8, IsWhatParsonTakes) {
    static constexpr unsigned char edges[] = {0x00, 0x7f, 0x80, 0x8f, 0x90, 0x9f, 0xa0, 0xbf,
                                              0xc0, 0xc1, 0xc2, 0xdf, 0xe0, 0xe1, 0xec, 0xed,
                                              0xee, 0xef, 0xf0, 0xf1, 0xf3, 0xf4, 0xf5, 0xff};
    constexpr std::size_t count = std::size(edges);
    std::size_t wrong = 0;
    std::size_t taken = 0;
    for (std::size_t number = 0; number < count * count * count * count; ++number) {
        std::string text;
        for (std::size_t rest = number; text.size() < 4; rest /= count)
            text += static_cast<char>(edges[rest % count]);
        const vrn_json_value_ptr value(json_value_init_string_with_len(text.data(), text.size()));
        taken += value ? 1 : 0;
        wrong += is_utf8(text) == (value != nullptr) ? 0 : 1;
    }
    EXPECT_EQ(wrong, 0U);
    EXPECT_GT(taken, 100U);
}

TEST(Utf8, TellsAsciiByEveryByteOfAText) {
    for (std::size_t size = 0; size < 20; ++size) {
        EXPECT_TRUE(is_ascii(std::string(size, '\x7f')));
        for (std::size_t place = 0; place < size; ++place)
            EXPECT_FALSE(is_ascii(std::string(size, 'a').replace(place, 1, "\x80")));
    }
}

}  // namespace
}  // namespace vrn::test
