// Where a value stands in a row and how it is read: what all formats make text of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "utils/byte_reader.h"

namespace vrn::exporter {

enum class ValueForm : std::uint8_t {
    unsigned_integer,  // of up to 64 bits
    signed_integer,
    time,  // microseconds since the epoch, as an unsigned integer
    float32,
    float64,
    text,
    bits64,   // shown as text, in the value's format
    bits128,  // likewise
    unsigned128,
    signed128,
    missing,  // lies outside of the row
};

struct RowValue {
    ValueForm form = ValueForm::missing;
    std::uint8_t spare_bits = 0;  // above an integer in the 64 bits read for it
    std::uint32_t format = 0;     // vrn_string_format_t of bits
    std::uint32_t size = 0;       // bytes of a text
    std::uint64_t offset = 0;     // in the row
};

// Below, `row` is a whole row with 8 bytes or more that can be read after it.

inline std::uint64_t read_unsigned(const RowValue &value, const std::uint8_t *row) {
    return load_le<std::uint64_t>(row + value.offset) << value.spare_bits >> value.spare_bits;
}

inline std::int64_t read_signed(const RowValue &value, const std::uint8_t *row) {
    const std::uint64_t word = load_le<std::uint64_t>(row + value.offset) << value.spare_bits;
    return static_cast<std::int64_t>(word) >> value.spare_bits;
}

// Of float32 and float64.
inline double read_double(const RowValue &value, const std::uint8_t *row) {
    if (value.form == ValueForm::float32)
        return static_cast<double>(load_le<float>(row + value.offset));
    return load_le<double>(row + value.offset);
}

inline unsigned __int128 read_unsigned128(const RowValue &value, const std::uint8_t *row) {
    return load_le<unsigned __int128>(row + value.offset);
}

// Of a text: the whole field.
inline Bytes read_bytes(const RowValue &value, const std::uint8_t *row) {
    return {row + value.offset, value.size};
}

// Up to its first zero byte; any bytes.
inline std::string_view text_of(Bytes field) {
    const auto *first = reinterpret_cast<const char *>(field.data());
    return {first, ::strnlen(first, field.size())};
}
inline std::string_view read_text(const RowValue &value, const std::uint8_t *row) {
    return text_of(read_bytes(value, row));
}

// Of bits64 and bits128. Writes up to VALUE_TEXT_ROOM bytes and returns their end.
char *write_bits(char *out, const RowValue &value, const std::uint8_t *row);

// Room for 39 digits and a sign.
inline constexpr std::size_t wide_integer_size = 40;
// Of unsigned128 and signed128.
char *write_wide_integer(char *out, const RowValue &value, const std::uint8_t *row);

}  // namespace vrn::exporter
