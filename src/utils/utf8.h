// Characters of texts that may be no UTF-8.
#pragma once

#include <boost/locale/utf.hpp>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vrn {

struct Utf8Character {
    std::uint32_t code;
    std::string_view bytes;  // where it stands in the text

    // One byte, which stands for itself as no character does.
    bool is_bad_byte() const { return code == boost::locale::utf::illegal; }
    bool is_control() const { return code < 0x20 || (code >= 0x7f && code < 0xa0); }
};

// The character that `text`, which is not empty, begins with.
inline Utf8Character first_utf8_character(std::string_view text) {
    const char *end = text.data();
    const std::uint32_t code =
        boost::locale::utf::utf_traits<char>::decode(end, text.data() + text.size());
    if (!boost::locale::utf::is_valid_codepoint(code))
        return {boost::locale::utf::illegal, text.substr(0, 1)};
    return {code, text.substr(0, static_cast<std::size_t>(end - text.data()))};
}

}  // namespace vrn
