// Ids of the forms in which a value can be shown as text.
#pragma once

#include <cstdint>

enum vrn_string_format_t : std::uint32_t {
    VRN_STRING_DEFAULT = 0,
    VRN_STRING_DECIMAL = 1,
    VRN_STRING_HEXADECIMAL = 2,
    VRN_STRING_UUID = 3,
    VRN_STRING_BINARY = 4,
};
