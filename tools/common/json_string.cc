#include "common/json_string.h"

#include <cstdio>

#include "utils/utf8.h"

namespace vrn::tool {

std::string json_string(std::string_view text) {
    std::string json = "\"";
    while (!text.empty()) {
        const Utf8Character character = first_utf8_character(text);
        text.remove_prefix(character.bytes.size());
        if (character.is_bad_byte()) {
            json += "\xEF\xBF\xBD";
        } else if (character.is_control()) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", character.code);
            json += escape;
        } else {
            if (character.bytes == "\"" || character.bytes == "\\") json += '\\';
            json += character.bytes;
        }
    }
    return json + '"';
}

}  // namespace vrn::tool
