#include "sql/clean_text.h"

#include <algorithm>

#include "data/text/utf8.h"

namespace vrn::sql {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";
constexpr std::size_t max_character_size = 4;

// Bytes of the character that starts `text`; 0 when none does.
std::size_t character_size(std::string_view text) {
    for (std::size_t size = 1; size <= std::min(text.size(), max_character_size); ++size)
        if (is_utf8(text.substr(0, size))) return size;
    return 0;
}

}  // namespace

std::string clean_text(std::string_view text) {
    if (is_utf8(text)) return std::string(text);
    std::string clean;
    // Byte by byte past what is damaged, so that the next good character is found.
    while (!text.empty()) {
        const std::size_t size = character_size(text);
        clean += size > 0 ? text.substr(0, size) : replacement;
        text.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return clean;
}

}  // namespace vrn::sql
