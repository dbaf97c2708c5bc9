#include "data/magic.h"

#include <cctype>
#include <cstring>

void vrn_magic_set(char *magic, char letter) {
    constexpr char letters[] = {'V', 'R', 'N'};
    std::memcpy(magic, letters, sizeof letters);
    magic[3] = letter;
}

void vrn_magic_set_end(char *magic, char letter) {
    vrn_magic_set(magic, letter);
    for (int i = 0; i < 4; ++i)
        // Also the last letter, whatever the caller gave.
        magic[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(magic[i])));
}

void vrn_magic_copy(char *to, const char *from) {
    std::memcpy(to, from, 4);
}

bool vrn_magic_matches(const char *magic, char letter) {
    return std::memcmp(magic, "VRN", 3) == 0 && magic[3] == letter;
}

bool vrn_magic_equal(const char *a, const char *b) {
    // As texts: a NUL among the first three bytes ends the comparison.
    return std::strncmp(a, b, 3) == 0 && a[3] == b[3];
}
