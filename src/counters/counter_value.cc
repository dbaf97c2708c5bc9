#include "counters/counter_value.h"

#include <array>
#include <cstring>
#include <string_view>

#include "data/schema/name_tables.h"
#include "data/value_format.h"
#include "utils/log.h"

namespace {

// `text` or, when that could not be made, `number`.
vrn_counter_value_t text_or_number(char *text, double number) {
    vrn_counter_value_t value = {.number = number};
    value.owned.reset(text);
    value.text = text;
    return value;
}

// `text` or, when that could not be made, the empty text.
vrn_counter_value_t text_or_empty(char *text) {
    vrn_counter_value_t value;
    value.owned.reset(text);
    value.text = text ? text : "";
    return value;
}

vrn_counter_value_t int64_value(std::int64_t value, std::uint32_t format) {
    const auto number = static_cast<double>(value);
    if (format <= VRN_STRING_DECIMAL) return {.number = number};
    return text_or_number(vrn_format_int64_string(value, format), number);
}

vrn_counter_value_t double_value(double value, std::uint32_t format) {
    if (format < VRN_STRING_HEXADECIMAL) return {.number = value};
    return text_or_number(vrn_format_double_string(format, value), value);
}

vrn_counter_value_t uint64_value(const vrn_counter_info_t *counter, std::uint64_t value) {
    const auto number = static_cast<double>(value);
    const std::uint32_t format = counter->string_format;
    if (format != VRN_STRING_DEFAULT && format != VRN_STRING_DECIMAL)
        return text_or_number(vrn_format_uint64_string(value, format), number);
    const bool always_hex = counter->data_type == VRN_DATA_BIT64 && format == VRN_STRING_DEFAULT;
    if (!always_hex && !vrn_name_contains_guid(counter->name)) return {.number = number};
    return text_or_number(vrn_format_uint64_string(value, VRN_STRING_HEXADECIMAL), number);
}

using WideBytes = std::array<std::uint8_t, 16>;

vrn_counter_value_t wide_value(const vrn_counter_info_t *counter, const WideBytes &bytes) {
    const bool is_signed = counter->data_type == VRN_DATA_INT128;
    const std::uint32_t format = counter->string_format == VRN_STRING_DEFAULT
                                     ? static_cast<std::uint32_t>(VRN_STRING_DECIMAL)
                                     : counter->string_format;
    char *text = is_signed ? vrn_format_int128_string(bytes.data(), format)
                           : vrn_format_uint128_string(bytes.data(), format);
    if (!text)
        VRN_LOG(VRN_LOG_WARNING, "%s returned NULL for key '%s'; setting empty string.",
                is_signed ? "vrn_format_int128_string" : "vrn_format_uint128_string",
                counter->name);
    return text_or_empty(text);
}

vrn_counter_value_t string_value(const vrn_counter_info_t *counter, const vrn::CounterRow &row) {
    const vrn::Bytes bytes = row.at(counter->offset, counter->length);
    vrn_log_hexdump(bytes.data(), bytes.size());
    const std::string_view text = row.text(counter->offset, counter->length);
    return text_or_empty(text.empty() ? nullptr : strndup(text.data(), text.size()));
}

bool is_guid(const vrn_counter_info_t *counter) {
    return counter->string_format == VRN_STRING_DECIMAL && vrn_name_is_guid_word(counter->name);
}

}  // namespace

vrn_counter_value_t vrn_counter_value_read(const vrn_counter_info_t *counter,
                                           const vrn::CounterRow &row, bool convert_guids) {
    const std::uint32_t offset = counter->offset;
    // The name alone decides, whatever the type: deliberate.
    if (convert_guids && is_guid(counter)) {
        if (char *text = vrn_format_guid_string(row.read<std::uint64_t>(offset)))
            return text_or_empty(text);
        VRN_LOG(VRN_LOG_ERROR, "Failed to convert the field %s to a hex string", counter->name);
    }
    switch (counter->data_type) {
        case VRN_DATA_INT64:
            return int64_value(row.read<std::int64_t>(offset), counter->string_format);
        case VRN_DATA_UINT128:
        case VRN_DATA_INT128:
            return wide_value(counter, row.read<WideBytes>(offset));
        case VRN_DATA_STRING:
            return string_value(counter, row);
        case VRN_DATA_FP64:
            return double_value(row.read<double>(offset), counter->string_format);
        case VRN_DATA_UINT64:
        case VRN_DATA_BIT64:
            return uint64_value(counter, row.read<std::uint64_t>(offset));
        default:
            return {.number = static_cast<double>(row.read<std::int64_t>(offset))};
    }
}
