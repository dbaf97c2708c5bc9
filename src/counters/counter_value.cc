#include "counters/counter_value.h"

#include "data/text/guid_name.h"
#include "data/text/guid_switch.h"

namespace vrn {
namespace {

// Of its own: events have another one, which may have been read at another time.
GuidSwitch guid_switch;

// The name alone decides, whatever the type: deliberate.
bool is_guid(const vrn_counter_info_t &counter) {
    return counter.string_format == VRN_STRING_DECIMAL && vrn_name_is_guid_word(counter.name);
}

// Bits are shown in hexadecimal unless they ask for decimal digits, and what is named after a GUID
// even then. Deliberate: this looks for "guid" anywhere in the name, not for the word.
CounterJsonForm uint64_form(const vrn_counter_info_t &counter) {
    const std::uint32_t format = counter.string_format;
    if (!is_plain_format(format)) return {CounterJsonForm::text, format};
    const bool is_bits = counter.data_type == VRN_DATA_BIT64 && format == VRN_STRING_DEFAULT;
    if (is_bits || vrn_name_contains_guid(counter.name))
        return {CounterJsonForm::text, VRN_STRING_HEXADECIMAL};
    return {CounterJsonForm::number, format};
}

}  // namespace

std::uint32_t counter_size(const vrn_counter_info_t &counter) {
    switch (counter.data_type) {
        case VRN_DATA_STRING:
            return counter.length;
        case VRN_DATA_UINT128:
        case VRN_DATA_INT128:
            return sizeof(WideBytes);
        default:
            return sizeof(std::uint64_t);
    }
}

bool counters_convert_guids() {
    return guid_switch.is_on();
}

CounterJsonForm counter_json_form(const vrn_counter_info_t &counter, bool convert_guids) {
    const std::uint32_t format = counter.string_format;
    // First of all, before the type is looked at.
    if (convert_guids && is_guid(counter)) return {CounterJsonForm::guid, format};
    switch (counter.data_type) {
        case VRN_DATA_UINT64:
        case VRN_DATA_BIT64:
            return uint64_form(counter);
        case VRN_DATA_INT64:
        case VRN_DATA_FP64:
            return {is_plain_format(format) ? CounterJsonForm::number : CounterJsonForm::text,
                    format};
        default:
            return {CounterJsonForm::text, format};
    }
}

}  // namespace vrn
