#include "data/text/value_text.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <initializer_list>

#include "utils/log.h"

namespace vrn {
namespace {

constexpr char hex_digits[] = "0123456789abcdef";
constexpr int bits_per_byte = 8;

char *write_prefix(char *out, char letter) {
    *out++ = '0';
    *out++ = letter;
    return out;
}

char *write_binary(char *out, std::uint64_t value) {
    out = write_prefix(out, 'b');
    for (int bit = 63; bit >= 0; --bit) *out++ = (value >> bit & 1) != 0 ? '1' : '0';
    return out;
}

char *write_wide_binary(char *out, const WideBytes &bytes) {
    out = write_prefix(out, 'b');
    for (const std::uint8_t byte : bytes)
        for (int bit = bits_per_byte - 1; bit >= 0; --bit)
            *out++ = (byte >> bit & 1) != 0 ? '1' : '0';
    return out;
}

// Hexadecimal digits with a '-' before each byte whose number is in `dashes`.
char *write_wide_hex(char *out, const WideBytes &bytes, std::initializer_list<std::size_t> dashes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (std::ranges::find(dashes, i) != dashes.end()) *out++ = '-';
        *out++ = hex_digits[bytes[i] >> 4];
        *out++ = hex_digits[bytes[i] & 15];
    }
    return out;
}

// "%.6f", cut to what a text of 32 bytes with its terminator can hold.
// Deliberate: a larger number shows its first 31 characters only.
char *write_double_decimal(char *out, double value) {
    constexpr std::ptrdiff_t max_size = 31;
    char text[FIXED_TEXT_SIZE + NUMBER_TEXT_SLACK];
    const char *end = write_fixed(text, value);
    return std::copy_n(text, std::min(end - text, max_size), out);
}

// New text of what `write` puts at the place it is given; it returns the end.
template <typename Write>
char *new_text(Write write) {
    char text[VALUE_TEXT_ROOM];
    return strndup(text, static_cast<std::size_t>(write(text) - text));
}

template <typename T>
char *new_value_text(const T &value, std::uint32_t format) {
    return new_text([&](char *out) { return write_value(out, value, format); });
}

}  // namespace

char *write_guid_value(char *out, std::uint64_t value) {
    return write_hex_digits(write_prefix(out, 'x'), value);
}

char *write_value(char *out, std::uint64_t value, std::uint32_t format) {
    switch (format) {
        case VRN_STRING_HEXADECIMAL:
            return write_guid_value(out, value);
        case VRN_STRING_BINARY:
            return write_binary(out, value);
        case VRN_STRING_UUID:
            VRN_LOG(VRN_LOG_WARNING,
                    "UUID format is only supported for 128-bit types, using DECIMAL for uint64");
            break;
        default:
            break;
    }
    return write_integer(out, value);
}

char *write_value(char *out, std::int64_t value, std::uint32_t format) {
    switch (format) {
        case VRN_STRING_HEXADECIMAL:
        case VRN_STRING_BINARY:
            // The bits, without a sign.
            return write_value(out, static_cast<std::uint64_t>(value), format);
        case VRN_STRING_UUID:
            VRN_LOG(VRN_LOG_WARNING,
                    "UUID format is only supported for 128-bit types, using DECIMAL for int64");
            break;
        default:
            break;
    }
    return write_integer(out, value);
}

char *write_value(char *out, double value, std::uint32_t format) {
    switch (format) {
        case VRN_STRING_HEXADECIMAL:
        case VRN_STRING_BINARY:
            // Deliberate: the bits, not the number that they stand for.
            return write_value(out, std::bit_cast<std::uint64_t>(value), format);
        // Deliberate: these warn for each value.
        case VRN_STRING_UUID:
            VRN_LOG(VRN_LOG_WARNING, "UUID format is not supported for FP64 types, using DECIMAL");
            break;
        default:
            break;
    }
    return write_double_decimal(out, value);
}

// In the order of storage: the bytes are neither swapped nor made into a number.
char *write_value(char *out, const WideBytes &bytes, std::uint32_t format) {
    switch (format) {
        case VRN_STRING_UUID:
            return write_wide_hex(out, bytes, {4, 6, 8, 10});
        case VRN_STRING_BINARY:
            return write_wide_binary(out, bytes);
        case VRN_STRING_HEXADECIMAL:
            return write_wide_hex(write_prefix(out, 'x'), bytes, {});
        default:
            break;
    }
    VRN_LOG(VRN_LOG_WARNING,
            "Decimal format not fully supported for 128-bit types, using hex representation");
    return write_wide_hex(out, bytes, {});
}

}  // namespace vrn

char *vrn_format_uint64_string(std::uint64_t value, std::uint32_t format) {
    return vrn::new_value_text(value, format);
}

char *vrn_format_int64_string(std::int64_t value, std::uint32_t format) {
    return vrn::new_value_text(value, format);
}

char *vrn_format_double_string(std::uint32_t format, double value) {
    return vrn::new_value_text(value, format);
}

char *vrn_format_uint128_string(const void *data, std::uint32_t format) {
    if (!data) return nullptr;
    vrn::WideBytes bytes;
    std::memcpy(bytes.data(), data, bytes.size());
    return vrn::new_value_text(bytes, format);
}

char *vrn_format_int128_string(const void *data, std::uint32_t format) {
    return vrn_format_uint128_string(data, format);
}

char *vrn_format_guid_string(std::uint64_t value) {
    return vrn::new_text([=](char *out) { return vrn::write_guid_value(out, value); });
}
