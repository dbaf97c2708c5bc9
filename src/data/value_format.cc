#include "data/value_format.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cinttypes>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <string_view>

#include "data/string_format.h"
#include "utils/log.h"

namespace {

// New text of a printf format in a buffer of `size` bytes; a longer one is cut.
char *format_bounded(std::size_t size, const char *format, ...)
    __attribute__((format(printf, 2, 3)));

char *format_bounded(std::size_t size, const char *format, ...) {
    auto *text = static_cast<char *>(std::malloc(size));
    if (!text) return nullptr;
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, size, format, arguments);
    va_end(arguments);
    return text;
}

constexpr std::size_t uint64_decimal_size = 21;
constexpr std::size_t uint64_hex_size = 19;
constexpr std::size_t uint64_binary_size = 67;
constexpr std::size_t uint128_decimal_size = 40;
constexpr std::size_t uint128_hex_size = 35;
constexpr std::size_t uint128_uuid_size = 37;
constexpr std::size_t uint128_binary_size = 131;
constexpr std::size_t double_size = 32;

constexpr int bits_per_byte = 8;

char *format_uint64_binary(std::uint64_t value) {
    auto *text = static_cast<char *>(std::malloc(uint64_binary_size));
    if (!text) return nullptr;
    char *next = text;
    *next++ = '0';
    *next++ = 'b';
    for (int bit = 63; bit >= 0; --bit) *next++ = (value >> bit & 1) != 0 ? '1' : '0';
    *next = '\0';
    return text;
}

char *format_uint128_binary(const std::uint8_t *bytes) {
    auto *text = static_cast<char *>(std::malloc(uint128_binary_size));
    if (!text) return nullptr;
    char *next = text;
    *next++ = '0';
    *next++ = 'b';
    for (int i = 0; i < 16; ++i)
        for (int bit = bits_per_byte - 1; bit >= 0; --bit)
            *next++ = (bytes[i] >> bit & 1) != 0 ? '1' : '0';
    *next = '\0';
    return text;
}

// Hexadecimal digits of 16 bytes in storage order behind `prefix`, with a '-' before each byte
// whose number is in `dashes`.
char *format_uint128_hex(const std::uint8_t *bytes, std::size_t size, std::string_view prefix,
                         std::initializer_list<int> dashes) {
    constexpr char digits[] = "0123456789abcdef";
    auto *text = static_cast<char *>(std::malloc(size));
    if (!text) return nullptr;
    char *next = std::ranges::copy(prefix, text).out;
    for (int i = 0; i < 16; ++i) {
        if (std::ranges::find(dashes, i) != dashes.end()) *next++ = '-';
        *next++ = digits[bytes[i] >> 4];
        *next++ = digits[bytes[i] & 15];
    }
    *next = '\0';
    return text;
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
    switch (format) {
        case VRN_STRING_HEXADECIMAL:
            return format_bounded(uint64_hex_size, "0x%016" PRIx64, value);
        case VRN_STRING_BINARY:
            return format_uint64_binary(value);
        case VRN_STRING_UUID:
            VRN_LOG(VRN_LOG_WARNING,
                    "UUID format is only supported for 128-bit types, using DECIMAL for uint64");
            break;
        default:
            break;
    }
    return format_bounded(uint64_decimal_size, "%" PRIu64, value);
}

char *vrn_format_int64_string(std::int64_t value, std::uint32_t format) {
    switch (format) {
        case VRN_STRING_HEXADECIMAL:
        case VRN_STRING_BINARY:
            return vrn_format_uint64_string(static_cast<std::uint64_t>(value), format);
        case VRN_STRING_UUID:
            VRN_LOG(VRN_LOG_WARNING,
                    "UUID format is only supported for 128-bit types, using DECIMAL for int64");
            break;
        default:
            break;
    }
    return format_bounded(uint64_decimal_size, "%" PRId64, value);
}

char *vrn_format_double_string(std::uint32_t format, double value) {
    switch (format) {
        case VRN_STRING_HEXADECIMAL:
        case VRN_STRING_BINARY:
            return vrn_format_uint64_string(std::bit_cast<std::uint64_t>(value), format);
        case VRN_STRING_UUID:
            VRN_LOG(VRN_LOG_WARNING, "UUID format is not supported for FP64 types, using DECIMAL");
            break;
        default:
            break;
    }
    return format_bounded(double_size, "%.6f", value);
}

char *vrn_format_uint128_string(const void *data, std::uint32_t format) {
    if (!data) return nullptr;
    const auto *bytes = static_cast<const std::uint8_t *>(data);
    switch (format) {
        case VRN_STRING_UUID:
            return format_uint128_hex(bytes, uint128_uuid_size, "", {4, 6, 8, 10});
        case VRN_STRING_BINARY:
            return format_uint128_binary(bytes);
        case VRN_STRING_HEXADECIMAL:
            return format_uint128_hex(bytes, uint128_hex_size, "0x", {});
        default:
            break;
    }
    VRN_LOG(VRN_LOG_WARNING,
            "Decimal format not fully supported for 128-bit types, using hex representation");
    return format_uint128_hex(bytes, uint128_decimal_size, "", {});
}

char *vrn_format_int128_string(const void *data, std::uint32_t format) {
    return vrn_format_uint128_string(data, format);
}

char *vrn_format_guid_string(std::uint64_t value) {
    return format_bounded(uint64_hex_size, "0x%016" PRIx64, value);
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
