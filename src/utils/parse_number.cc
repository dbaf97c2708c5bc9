#include "utils/parse_number.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace {

// One of the strtol family, with its lenience taken away.
template <typename T, typename Out>
bool parse_strict(T (*parse)(const char *, char **, int), const char *text, Out *out) {
    static_assert(sizeof(T) == sizeof(Out));
    if (!text || !out) return false;
    char *end = nullptr;
    errno = 0;
    // Base 0: "0x10" is 16 and "010" is 8. Leading blanks pass and a minus sign wraps round in the
    // unsigned parsers, both as strtoull has it and both deliberate.
    const T value = parse(text, &end, 0);
    using Limits = std::numeric_limits<T>;
    if (errno == ERANGE && (value == Limits::max() || value == Limits::min())) return false;
    if (errno != 0 && value == 0) return false;
    if (end == text || *end != '\0') return false;
    *out = value;
    return true;
}

template <typename Out>
bool parse_narrow(const char *text, Out *out) {
    // Through 64 bits, so that "-1" wraps to a value that no narrow type takes.
    std::uint64_t value = 0;
    if (!out || !vrn_parse_ullong(text, &value)) return false;
    if (value > std::numeric_limits<Out>::max()) return false;
    *out = static_cast<Out>(value);
    return true;
}

}  // namespace

bool vrn_parse_long(const char *text, std::int64_t *out) {
    return parse_strict(std::strtol, text, out);
}

bool vrn_parse_ulong(const char *text, std::uint64_t *out) {
    return parse_strict(std::strtoul, text, out);
}

bool vrn_parse_llong(const char *text, std::int64_t *out) {
    return parse_strict(std::strtoll, text, out);
}

bool vrn_parse_ullong(const char *text, std::uint64_t *out) {
    return parse_strict(std::strtoull, text, out);
}

bool vrn_parse_u64(const char *text, std::uint64_t *out) {
    return vrn_parse_ullong(text, out);
}

bool vrn_parse_u32(const char *text, std::uint32_t *out) {
    return parse_narrow(text, out);
}

bool vrn_parse_u16(const char *text, std::uint16_t *out) {
    return parse_narrow(text, out);
}

bool vrn_parse_u8(const char *text, std::uint8_t *out) {
    return parse_narrow(text, out);
}

bool vrn_parse_int_n(const char *text, std::size_t length, std::int32_t *out) {
    if (!text || !out) return false;
    // The parser needs a terminator, and the text may go on after the number.
    const std::string copy(text, strnlen(text, length));
    std::int64_t value = 0;
    if (!vrn_parse_long(copy.c_str(), &value)) return false;
    using Limits = std::numeric_limits<std::int32_t>;
    if (value < Limits::min() || value > Limits::max()) return false;
    *out = static_cast<std::int32_t>(value);
    return true;
}
