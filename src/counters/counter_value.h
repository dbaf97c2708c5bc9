// The value of one counter in a row, as serializers show it.
#pragma once

#include "counters/counter_group.h"
#include "counters/counter_row.h"
#include "utils/c_ptr.h"

// How a counter's values are read and shown: settled by its description.
enum vrn_counter_form_t : std::uint8_t {
    VRN_FORM_GUID,
    VRN_FORM_INT64,
    VRN_FORM_UINT64,
    VRN_FORM_DOUBLE,
    VRN_FORM_INT64_TEXT,
    VRN_FORM_UINT64_TEXT,
    VRN_FORM_DOUBLE_TEXT,
    VRN_FORM_WIDE_TEXT,
    VRN_FORM_STRING,
};

// `convert_guids` is the state of the GUID switch.
vrn_counter_form_t vrn_counter_form(const vrn_counter_info_t *counter, bool convert_guids);

// A text or, when `text` is null, a number. Like all JSON numbers it is a double: integers above
// 2 to the 53rd lose low bits.
struct vrn_counter_value_t {
    double number = 0;
    const char *text = nullptr;
    vrn::CString owned = nullptr;  // `text`, unless that is a constant
};

// Value of `counter` at its offset; `convert_guids` is the state of the GUID switch. A text that
// can't be made gives the number or the empty text instead: there is always a value.
vrn_counter_value_t vrn_counter_value_read(const vrn_counter_info_t *counter,
                                           const vrn::CounterRow &row, bool convert_guids);
