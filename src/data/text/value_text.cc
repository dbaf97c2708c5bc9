#include "data/text/value_text.h"

#include <algorithm>
#include <bit>
#include <initializer_list>
#include <string_view>

#include "data/text/string_format.h"
#include "utils/log.h"

namespace vrn {
namespace {

constexpr char hex_digits[] = "0123456789abcdef";
constexpr int bits_per_byte = 8;
constexpr int wide_bytes = 16;

char *write_prefix(char *out, char letter) {
    *out++ = '0';
    *out++ = letter;
    return out;
}

char *write_uint64_binary(char *out, std::uint64_t value) {
    out = write_prefix(out, 'b');
    for (int bit = 63; bit >= 0; --bit) *out++ = (value >> bit & 1) != 0 ? '1' : '0';
    return out;
}

char *write_uint128_binary(char *out, const std::uint8_t *bytes) {
    out = write_prefix(out, 'b');
    for (int i = 0; i < wide_bytes; ++i)
        for (int bit = bits_per_byte - 1; bit >= 0; --bit)
            *out++ = (bytes[i] >> bit & 1) != 0 ? '1' : '0';
    return out;
}

// Hexadecimal digits of 16 bytes in storage order, with a '-' before each byte whose number is in
// `dashes`.
char *write_uint128_hex(char *out, const std::uint8_t *bytes, std::initializer_list<int> dashes) {
    for (int i = 0; i < wide_bytes; ++i) {
        if (std::ranges::find(dashes, i) != dashes.end()) *out++ = '-';
        *out++ = hex_digits[bytes[i] >> 4];
        *out++ = hex_digits[bytes[i] & 15];
    }
    return out;
}

// "%.6f", cut to what a text of 32 bytes with its terminator can hold.
char *write_double_decimal(char *out, double value) {
    constexpr std::ptrdiff_t max_size = 31;
    char text[FIXED_TEXT_SIZE + NUMBER_TEXT_SLACK];
    const char *end = write_fixed(text, value);
    return std::copy_n(text, std::min(end - text, max_size), out);
}

}  // namespace

char *write_guid_value(char *out, std::uint64_t value) {
    return write_hex_digits(write_prefix(out, 'x'), value);
}

char *write_uint64_value(char *out, std::uint64_t value, std::uint32_t format) {
    switch (format) {
        case VRN_STRING_HEXADECIMAL:
            return write_guid_value(out, value);
        case VRN_STRING_BINARY:
            return write_uint64_binary(out, value);
        case VRN_STRING_UUID:
            VRN_LOG(VRN_LOG_WARNING,
                    "UUID format is only supported for 128-bit types, using DECIMAL for uint64");
            break;
        default:
            break;
    }
    return write_integer(out, value);
}

char *write_int64_value(char *out, std::int64_t value, std::uint32_t format) {
    switch (format) {
        case VRN_STRING_HEXADECIMAL:
        case VRN_STRING_BINARY:
            return write_uint64_value(out, static_cast<std::uint64_t>(value), format);
        case VRN_STRING_UUID:
            VRN_LOG(VRN_LOG_WARNING,
                    "UUID format is only supported for 128-bit types, using DECIMAL for int64");
            break;
        default:
            break;
    }
    return write_integer(out, value);
}

char *write_double_value(char *out, double value, std::uint32_t format) {
    switch (format) {
        case VRN_STRING_HEXADECIMAL:
        case VRN_STRING_BINARY:
            return write_uint64_value(out, std::bit_cast<std::uint64_t>(value), format);
        case VRN_STRING_UUID:
            VRN_LOG(VRN_LOG_WARNING, "UUID format is not supported for FP64 types, using DECIMAL");
            break;
        default:
            break;
    }
    return write_double_decimal(out, value);
}

char *write_uint128_value(char *out, const void *data, std::uint32_t format) {
    const auto *bytes = static_cast<const std::uint8_t *>(data);
    switch (format) {
        case VRN_STRING_UUID:
            return write_uint128_hex(out, bytes, {4, 6, 8, 10});
        case VRN_STRING_BINARY:
            return write_uint128_binary(out, bytes);
        case VRN_STRING_HEXADECIMAL:
            return write_uint128_hex(write_prefix(out, 'x'), bytes, {});
        default:
            break;
    }
    VRN_LOG(VRN_LOG_WARNING,
            "Decimal format not fully supported for 128-bit types, using hex representation");
    return write_uint128_hex(out, bytes, {});
}

}  // namespace vrn
