#include "utils/strings.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

#include "utils/log.h"

namespace {

bool is_space(char character) {
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

// Not isprint, which depends on the locale.
bool is_visible_ascii(char character) {
    return character >= 0x20 && character <= 0x7E;
}

// Lets one message in ten seconds pass.
class MessageThrottle {
  public:
    bool is_due() {
        // Called from loops over rows: one bad caller must not fill the log.
        const auto now = std::chrono::steady_clock::now();
        if (last_ && now - *last_ < std::chrono::seconds(10)) return false;
        last_ = now;
        return true;
    }

  private:
    std::optional<std::chrono::steady_clock::time_point> last_;
};

// New heap string with the three texts in a row; null after an error line that names `caller`.
char *join(const char *caller, std::string_view a, std::string_view b, std::string_view c) {
    auto *joined = static_cast<char *>(std::malloc(a.size() + b.size() + c.size() + 1));
    if (!joined) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] Failed in malloc", caller);
        return nullptr;
    }
    char *end = joined;
    for (const std::string_view part : {a, b, c}) end = std::ranges::copy(part, end).out;
    *end = '\0';
    return joined;
}

}  // namespace

bool vrn_str_is_true(const char *text) {
    // A switch that was given without a value is on. Deliberate, as is that "TRUE" is not.
    if (!text) return true;
    const std::string_view value = text;
    return value == "1" || value == "True" || value == "true";
}

const char *vrn_bool_to_str(bool value) {
    return value ? "true" : "false";
}

char *vrn_trim(char *text) {
    while (is_space(*text)) ++text;
    char *end = text + std::strlen(text);
    while (end != text && is_space(end[-1])) --end;
    *end = '\0';
    return text;
}

int vrn_hex_nibble(char character) {
    if (character >= '0' && character <= '9') return character - '0';
    if (character >= 'a' && character <= 'f') return character - 'a' + 10;
    if (character >= 'A' && character <= 'F') return character - 'A' + 10;
    return -1;
}

bool vrn_parse_uuid(const char *text, std::uint8_t *bytes) {
    constexpr std::size_t uuid_size = 16;
    if (!text || !*text) return false;
    std::size_t count = 0;
    int high = -1;
    for (; *text; ++text) {
        // Dashes may stand anywhere, inside a byte too.
        if (*text == '-') continue;
        const int nibble = vrn_hex_nibble(*text);
        if (nibble < 0) return false;
        if (high < 0) {
            high = nibble;
            continue;
        }
        // The 17th byte is stored before it is refused, so the place has room for one more. A
        // single digit left over at the end does no harm.
        bytes[count++] = static_cast<std::uint8_t>(high << 4 | nibble);
        if (count > uuid_size) return false;
        high = -1;
    }
    return count == uuid_size;
}

bool vrn_copy_text(const char *from, char **to) {
    if (!from) return true;
    *to = strdup(from);
    return *to != nullptr;
}

// The names without a prefix are printed in messages and stay as they are.
char *string_concat(const char *a, const char *b) {
    return join(__func__, a, b, "");
}

char *string_concat_comma_separated_token(const char *list, const char *token) {
    if (!list || !*list) return join(__func__, token, "", "");
    return join(__func__, list, ",", token);
}

bool find_ith_substr(const char *text, const char *needle, std::size_t index,
                     std::size_t *position) {
    if (!text || !needle || !position) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] invalid input", __func__);
        return false;
    }
    const std::size_t needle_length = std::strlen(needle);
    std::size_t matches = 0;
    for (std::size_t i = 0; text[i]; ++i) {
        if (std::strncmp(text + i, needle, needle_length) != 0) continue;
        // One character further each time: matches may overlap.
        if (matches++ != index) continue;
        *position = i;
        return true;
    }
    return false;
}

char *vrn_path_basename(const char *path) {
    if (!path || !*path) return nullptr;
    const char *slash = std::strrchr(path, '/');
    return strdup(slash ? slash + 1 : path);
}

bool vrn_str_ends_with(const char *text, const char *suffix) {
    return std::string_view(text).ends_with(suffix);
}

std::size_t vrn_copy_bounded(char *to, std::size_t to_size, const char *from,
                             std::size_t from_length) {
    if (to_size == 0) return 0;
    const std::size_t copied = std::min(from_length, to_size - 1);
    *std::copy_n(from, copied, to) = '\0';
    return copied;
}

char *strncpy_visible_ascii(char *to, const char *from, std::size_t length) {
    static MessageThrottle null_to;
    static MessageThrottle null_from;
    static MessageThrottle no_length;
    if (!to) {
        if (null_to.is_due()) VRN_LOG(VRN_LOG_ERROR, "%s: Destination buffer is NULL", __func__);
        return to;
    }
    if (!from) {
        if (null_from.is_due()) VRN_LOG(VRN_LOG_ERROR, "%s: Source string is NULL", __func__);
        return to;
    }
    if (length == 0) {
        if (no_length.is_due()) VRN_LOG(VRN_LOG_ERROR, "%s: Length is 0", __func__);
        return to;
    }
    // Up to three characters this leaves unterminated, as fixed-width fields are.
    if (*from && !is_visible_ascii(*from)) return std::strncpy(to, "N/A", length);
    std::memset(to, 0, length);
    for (std::size_t i = 0; i + 1 < length && is_visible_ascii(from[i]); ++i) to[i] = from[i];
    return to;
}
