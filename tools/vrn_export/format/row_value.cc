#include "vrn_export/format/row_value.h"

#include "data/text/number_text.h"
#include "data/text/value_text.h"

namespace vrn::exporter {
namespace {

constexpr std::uint64_t digits_limit = 10'000'000'000'000'000'000U;  // 19 digits and a word's last
constexpr std::size_t limit_digits = 19;

char *write_padded(char *out, std::uint64_t number) {
    for (std::size_t i = limit_digits; i > 0; --i, number /= 10)
        out[i - 1] = static_cast<char>('0' + number % 10);
    return out + limit_digits;
}

// At most three deep: the number has 39 digits.
char *write_wide(char *out, unsigned __int128 number) {
    if (number < digits_limit) return write_integer(out, static_cast<std::uint64_t>(number));
    out = write_wide(out, number / digits_limit);
    return write_padded(out, static_cast<std::uint64_t>(number % digits_limit));
}

}  // namespace

char *write_bits(char *out, const RowValue &value, const std::uint8_t *row) {
    if (value.form == ValueForm::bits128)
        return write_value(out, load_le<WideBytes>(row + value.offset), value.format);
    return write_value(out, load_le<std::uint64_t>(row + value.offset), value.format);
}

char *write_wide_integer(char *out, const RowValue &value, const std::uint8_t *row) {
    unsigned __int128 number = read_unsigned128(value, row);
    const bool is_negative = value.form == ValueForm::signed128 && number >> 127 != 0;
    if (is_negative) {
        *out++ = '-';
        // Unsigned, so that also the least number has its magnitude.
        number = -number;
    }
    return write_wide(out, number);
}

}  // namespace vrn::exporter
