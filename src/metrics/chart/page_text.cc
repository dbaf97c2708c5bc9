#include "metrics/chart/page_text.h"

#include <algorithm>
#include <boost/locale/utf.hpp>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "utils/utf8.h"

namespace vrn::metrics {
namespace {

// A quote or a backslash would change where the text ends, "<" may end the whole script, and the
// two separators are line ends to older browsers.
bool is_plain_in_script(const Utf8Character &character) {
    const bool ends_line = character.code == 0x2028 || character.code == 0x2029;
    return !character.is_bad_byte() && !character.is_control() && !ends_line &&
           character.bytes.find_first_of("'\"`\\<") == std::string_view::npos;
}

void append_script(const Utf8Character &character, std::string *out) {
    if (is_plain_in_script(character)) {
        out->append(character.bytes);
        return;
    }
    // A byte that is no UTF-8 becomes a lone surrogate of its own, so that different names stay
    // different. All that is escaped here lies below 0x10000: one unit.
    const std::uint32_t unit = character.is_bad_byte()
                                   ? 0xdc00U + static_cast<std::uint8_t>(character.bytes[0])
                                   : character.code;
    char escape[16];
    std::snprintf(escape, sizeof escape, "\\u%04x", unit);
    out->append(escape);
}

void append_markup(const Utf8Character &character, std::string *out) {
    const std::uint32_t code = character.code;
    // Markup has no form for them, not even as a number.
    if (character.is_bad_byte() || code == 0)
        out->append("\xef\xbf\xbd");
    else if (code == '&')
        out->append("&amp;");
    else if (code == '<')
        out->append("&lt;");
    else if (code == '>')
        out->append("&gt;");
    else if (code < 0x80 && character.is_control() && code != '\t' && code != '\n')
        out->append("&#" + std::to_string(code) + ";");  // browsers read a plain \r as a newline
    else
        out->append(character.bytes);
}

std::string converted(std::string_view text, void (*append)(const Utf8Character &, std::string *)) {
    std::string result;
    while (!text.empty()) {
        const Utf8Character character = first_utf8_character(text);
        append(character, &result);
        text.remove_prefix(character.bytes.size());
    }
    return result;
}

}  // namespace

std::string script_text(std::string_view text) {
    return converted(text, append_script);
}

std::string script_text_value(std::string_view text) {
    constexpr std::size_t escape_size = 6;
    std::string value;
    for (;;) {
        const std::size_t plain = std::min(text.find('\\'), text.size());
        value.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.size() < escape_size) return value;
        std::uint32_t unit = 0;
        std::from_chars(text.data() + 2, text.data() + escape_size, unit, 16);
        text.remove_prefix(escape_size);
        if (unit >= 0xdc00)
            value += static_cast<char>(unit);  // a byte that was no UTF-8
        else
            boost::locale::utf::utf_traits<char>::encode(unit, std::back_inserter(value));
    }
}

std::string markup_text(std::string_view text) {
    return converted(text, append_markup);
}

}  // namespace vrn::metrics
