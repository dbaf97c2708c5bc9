#include "counters/counter_value.h"

#include <array>
#include <cstring>
#include <string_view>

#include "data/selection/name_tables.h"
#include "data/text/value_format.h"
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

vrn_counter_value_t int64_text(std::int64_t value, std::uint32_t format) {
    return text_or_number(vrn_format_int64_string(value, format), static_cast<double>(value));
}

vrn_counter_value_t double_text(double value, std::uint32_t format) {
    return text_or_number(vrn_format_double_string(format, value), value);
}

bool is_plain(std::uint32_t format) {
    return format == VRN_STRING_DEFAULT || format == VRN_STRING_DECIMAL;
}

// Values shown in hexadecimal without being asked to have a plain format.
vrn_counter_value_t uint64_text(std::uint64_t value, std::uint32_t format) {
    const std::uint32_t shown = is_plain(format) ? std::uint32_t{VRN_STRING_HEXADECIMAL} : format;
    return text_or_number(vrn_format_uint64_string(value, shown), static_cast<double>(value));
}

vrn_counter_form_t uint64_form(const vrn_counter_info_t *counter) {
    const std::uint32_t format = counter->string_format;
    const bool always_hex = counter->data_type == VRN_DATA_BIT64 && format == VRN_STRING_DEFAULT;
    if (!is_plain(format) || always_hex || vrn_name_contains_guid(counter->name))
        return VRN_FORM_UINT64_TEXT;
    return VRN_FORM_UINT64;
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

// The name alone decides, whatever the type: deliberate.
bool is_guid(const vrn_counter_info_t *counter) {
    return counter->string_format == VRN_STRING_DECIMAL && vrn_name_is_guid_word(counter->name);
}

vrn_counter_value_t guid_value(const vrn_counter_info_t *counter, const vrn::CounterRow &row) {
    if (char *text = vrn_format_guid_string(row.read<std::uint64_t>(counter->offset)))
        return text_or_empty(text);
    VRN_LOG(VRN_LOG_ERROR, "Failed to convert the field %s to a hex string", counter->name);
    return vrn_counter_value_read(counter, row, false);
}

}  // namespace

vrn_counter_form_t vrn_counter_form(const vrn_counter_info_t *counter, bool convert_guids) {
    if (convert_guids && is_guid(counter)) return VRN_FORM_GUID;
    switch (counter->data_type) {
        case VRN_DATA_INT64:
            return is_plain(counter->string_format) ? VRN_FORM_INT64 : VRN_FORM_INT64_TEXT;
        case VRN_DATA_UINT128:
        case VRN_DATA_INT128:
            return VRN_FORM_WIDE_TEXT;
        case VRN_DATA_STRING:
            return VRN_FORM_STRING;
        case VRN_DATA_FP64:
            return is_plain(counter->string_format) ? VRN_FORM_DOUBLE : VRN_FORM_DOUBLE_TEXT;
        case VRN_DATA_UINT64:
        case VRN_DATA_BIT64:
            return uint64_form(counter);
        default:
            return VRN_FORM_INT64;
    }
}

vrn_counter_value_t vrn_counter_value_read(const vrn_counter_info_t *counter,
                                           const vrn::CounterRow &row, bool convert_guids) {
    const std::uint32_t offset = counter->offset;
    const std::uint32_t format = counter->string_format;
    switch (vrn_counter_form(counter, convert_guids)) {
        case VRN_FORM_GUID:
            return guid_value(counter, row);
        case VRN_FORM_INT64:
            return {.number = static_cast<double>(row.read<std::int64_t>(offset))};
        case VRN_FORM_UINT64:
            return {.number = static_cast<double>(row.read<std::uint64_t>(offset))};
        case VRN_FORM_DOUBLE:
            return {.number = row.read<double>(offset)};
        case VRN_FORM_INT64_TEXT:
            return int64_text(row.read<std::int64_t>(offset), format);
        case VRN_FORM_UINT64_TEXT:
            return uint64_text(row.read<std::uint64_t>(offset), format);
        case VRN_FORM_DOUBLE_TEXT:
            return double_text(row.read<double>(offset), format);
        case VRN_FORM_WIDE_TEXT:
            return wide_value(counter, row.read<WideBytes>(offset));
        default:
            return string_value(counter, row);
    }
}
