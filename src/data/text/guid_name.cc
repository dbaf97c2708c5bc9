#include "data/text/guid_name.h"

#include <cctype>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace {

// "guid" in any mix of ASCII case.
bool starts_with_guid(const char *text) {
    constexpr std::string_view word = "guid";
    // This bit makes ASCII capitals small and no other byte a letter of the word.
    for (std::size_t i = 0; i < word.size(); ++i)
        if ((text[i] | 0x20) != word[i]) return false;
    return true;
}

bool is_letter(char character) {
    return std::isalpha(static_cast<unsigned char>(character)) != 0;
}

}  // namespace

bool vrn_name_is_guid_word(const char *name) {
    if (!name) return false;
    const std::size_t length = std::strlen(name);
    for (std::size_t i = 0; i + 4 <= length; ++i) {
        if (!starts_with_guid(name + i)) continue;
        const bool starts_word = i == 0 || !is_letter(name[i - 1]);
        // The terminator is no letter.
        if (starts_word && !is_letter(name[i + 4])) return true;
    }
    return false;
}

// Deliberate: these two spellings alone, as part of any word; "Guid" is none of them.
bool vrn_name_contains_guid(const char *name) {
    return name && (std::strstr(name, "guid") || std::strstr(name, "GUID"));
}
