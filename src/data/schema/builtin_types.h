// The fixed table of built-in types.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

enum vrn_builtin_id_t : std::uint32_t {
    VRN_BUILTIN_NONE = 0,  // a composite type
    VRN_BUILTIN_BOOL = 1,
    VRN_BUILTIN_CHAR = 2,
    VRN_BUILTIN_SHORT = 3,
    VRN_BUILTIN_INT = 4,
    VRN_BUILTIN_LONG = 5,
    VRN_BUILTIN_LONGLONG = 6,
    VRN_BUILTIN_UCHAR = 7,
    VRN_BUILTIN_USHORT = 8,
    VRN_BUILTIN_UINT = 9,
    VRN_BUILTIN_ULONG = 10,
    VRN_BUILTIN_ULONGLONG = 11,
    VRN_BUILTIN_FLOAT = 12,
    VRN_BUILTIN_DOUBLE = 13,
    VRN_BUILTIN_INT8 = 14,
    VRN_BUILTIN_INT16 = 15,
    VRN_BUILTIN_INT32 = 16,
    VRN_BUILTIN_INT64 = 17,
    VRN_BUILTIN_UINT8 = 18,
    VRN_BUILTIN_UINT16 = 19,
    VRN_BUILTIN_UINT32 = 20,
    VRN_BUILTIN_UINT64 = 21,
    VRN_BUILTIN_TIMESTAMP = 22,
};

// How one value is read and shown.
enum vrn_value_form_t : std::uint8_t {
    VRN_VALUE_NONE,  // of no known type
    VRN_VALUE_UNSIGNED,
    VRN_VALUE_SIGNED,
    VRN_VALUE_FLOAT,
    VRN_VALUE_DOUBLE,
    VRN_VALUE_HEX,     // an integer of 64 bits in hexadecimal
    VRN_VALUE_RECORD,  // of a composite type
};

// Null or 0 for an id or a name outside the table.
const char *vrn_builtin_type_name(std::uint32_t id);
std::size_t vrn_builtin_type_size(std::uint32_t id);
std::uint32_t vrn_builtin_type_id(const char *name);

// Bits above a value of the type in the 64 bits that are read for it.
std::uint8_t vrn_builtin_spare_bits(std::uint32_t id);
// Form of a value of a built-in type. `contains_guid`: what its name says, see vrn_json_name_t.
vrn_value_form_t vrn_builtin_value_form(std::uint32_t id, bool contains_guid);

// Prints the table: id, name, size.
void vrn_builtin_types_print(std::FILE *stream);
