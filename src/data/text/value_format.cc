#include "data/text/value_format.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include "data/text/value_text.h"

namespace {

// New text of what `write` puts at the place it is given; it returns the end.
template <typename Write>
char *new_text(Write write) {
    char text[vrn::VALUE_TEXT_ROOM];
    return strndup(text, static_cast<std::size_t>(write(text) - text));
}

// "guid" in any mix of ASCII case.
bool starts_with_guid(const char *text) {
    constexpr std::string_view word = "guid";
    for (std::size_t i = 0; i < word.size(); ++i)
        if ((text[i] | 0x20) != word[i]) return false;
    return true;
}

bool is_letter(char character) {
    return std::isalpha(static_cast<unsigned char>(character)) != 0;
}

}  // namespace

char *vrn_format_uint64_string(std::uint64_t value, std::uint32_t format) {
    return new_text([=](char *out) { return vrn::write_uint64_value(out, value, format); });
}

char *vrn_format_int64_string(std::int64_t value, std::uint32_t format) {
    return new_text([=](char *out) { return vrn::write_int64_value(out, value, format); });
}

char *vrn_format_double_string(std::uint32_t format, double value) {
    return new_text([=](char *out) { return vrn::write_double_value(out, value, format); });
}

char *vrn_format_uint128_string(const void *data, std::uint32_t format) {
    if (!data) return nullptr;
    return new_text([=](char *out) { return vrn::write_uint128_value(out, data, format); });
}

char *vrn_format_int128_string(const void *data, std::uint32_t format) {
    return vrn_format_uint128_string(data, format);
}

char *vrn_format_guid_string(std::uint64_t value) {
    return new_text([=](char *out) { return vrn::write_guid_value(out, value); });
}

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

bool vrn_name_contains_guid(const char *name) {
    return name && (std::strstr(name, "guid") || std::strstr(name, "GUID"));
}

char *vrn_format_timestamp(std::uint64_t timestamp, bool microseconds) {
    constexpr std::uint64_t per_second = 1000000;
    const auto seconds = static_cast<std::time_t>(timestamp / per_second);
    const auto rest = static_cast<int>(timestamp % per_second);
    std::tm local{};
    if (!localtime_r(&seconds, &local)) return nullptr;

    const int digits = microseconds ? 6 : 3;
    const int fraction = microseconds ? rest : rest / 1000;
    const auto print = [&](char *buffer, std::size_t size) {
        return std::snprintf(buffer, size, "%04d-%02d-%02d %02d:%02d:%02d.%0*d",
                             local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                             local.tm_min, local.tm_sec, digits, fraction);
    };
    const int length = print(nullptr, 0);
    if (length < 0) return nullptr;
    const std::size_t size = static_cast<std::size_t>(length) + 1;
    auto *text = static_cast<char *>(std::malloc(size));
    if (text) print(text, size);
    return text;
}

char *vrn_format_timestamp_ms(std::uint64_t timestamp) {
    return vrn_format_timestamp(timestamp, false);
}

int vrn_buffer_appendf(char *buffer, std::size_t size, int *position, const char *format, ...) {
    if (!buffer || size == 0 || !position) return -1;
    // Positions are ints: no text goes on beyond what one can name.
    size = std::min<std::size_t>(size, INT_MAX);
    const int last = static_cast<int>(size) - 1;
    if (*position < 0) *position = 0;
    if (*position > last) {
        *position = last;
        buffer[last] = '\0';
        return 0;
    }

    char *const end = buffer + *position;
    const int room = last - *position;
    std::va_list arguments;
    va_start(arguments, format);
    const int count = std::vsnprintf(end, static_cast<std::size_t>(room) + 1, format, arguments);
    va_end(arguments);
    if (count < 0) {
        *end = '\0';
        return -1;
    }
    if (count > room) buffer[last] = '\0';
    *position = count > room ? last : *position + count;
    return count;
}
