#include "data/text/json_string.h"

#include <gtest/gtest.h>

#include <string>

namespace vrn::test {
namespace {

// Of a text in a field of 40 bytes, as rows have them.
std::string plain_json_of(std::string field) {
    field.resize(40);
    std::string out(2 * field.size(), 'x');
    const Bytes bytes(reinterpret_cast<const std::uint8_t *>(field.data()), field.size());
    const char *end = write_plain_json(out.data(), bytes);
    return end ? out.substr(0, static_cast<std::size_t>(end - out.data())) : "null";
}

TEST(PlainJson, IsThatOfPlainTextsAlone) {
    for (std::size_t size = 0; size <= 40; ++size) {
        const std::string text =
            std::string("every 'plain' char, from ~ to blank {12}").substr(0, size);
        EXPECT_EQ(plain_json_of(text), '"' + text + '"');
        for (std::size_t place = 0; place < size; ++place) {
            for (const char other : {'"', '\\', '\x1f', '\x7f', '\xc3'}) {
                std::string changed = text;
                changed[place] = other;
                EXPECT_EQ(plain_json_of(changed), "null") << size << ' ' << place;
            }
            std::string cut = text;
            cut[place] = '\0';
            EXPECT_EQ(plain_json_of(cut), '"' + text.substr(0, place) + '"');
        }
    }
}

}  // namespace
}  // namespace vrn::test
