#include "metrics/chart/page_text.h"

#include <boost/locale/utf.hpp>
#include <cstdint>
#include <cstdio>

namespace vrn::metrics {
namespace {

namespace utf = boost::locale::utf;

struct Character {
    utf::code_point code;  // utf::illegal for a byte that is no UTF-8
    std::string_view bytes;
};

// `text` is not empty.
Character first_character(std::string_view text) {
    const char *end = text.data();
    const utf::code_point code = utf::utf_traits<char>::decode(end, text.data() + text.size());
    if (!utf::is_valid_codepoint(code)) return {utf::illegal, text.substr(0, 1)};
    return {code, text.substr(0, static_cast<std::size_t>(end - text.data()))};
}

bool is_ascii_control(utf::code_point code) {
    return code < 0x20 || code == 0x7f;
}

void append_script(const Character &character, std::string *out) {
    utf::code_point unit = character.code;
    if (unit == utf::illegal)
        unit = 0xdc00 + static_cast<std::uint8_t>(character.bytes[0]);
    else if (!is_ascii_control(unit) && !(unit >= 0x80 && unit < 0xa0) && unit != 0x2028 &&
             unit != 0x2029 && character.bytes.find_first_of("'\"`\\<") == std::string_view::npos) {
        out->append(character.bytes);
        return;
    }
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", unit & 0xffff);
    out->append(escape);
}

void append_markup(const Character &character, std::string *out) {
    const utf::code_point code = character.code;
    if (code == utf::illegal || code == 0)
        out->append("\xef\xbf\xbd");
    else if (code == '&')
        out->append("&amp;");
    else if (code == '<')
        out->append("&lt;");
    else if (code == '>')
        out->append("&gt;");
    else if (is_ascii_control(code) && code != '\t' && code != '\n')
        out->append("&#" + std::to_string(code) + ";");  // browsers read a plain \r as a newline
    else
        out->append(character.bytes);
}

std::string converted(std::string_view text, void (*append)(const Character &, std::string *)) {
    std::string result;
    while (!text.empty()) {
        const Character character = first_character(text);
        append(character, &result);
        text.remove_prefix(character.bytes.size());
    }
    return result;
}

}  // namespace

std::string script_text(std::string_view text) {
    return converted(text, append_script);
}

std::string markup_text(std::string_view text) {
    return converted(text, append_markup);
}

}  // namespace vrn::metrics
