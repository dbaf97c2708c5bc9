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

// Null or 0 for an id or a name outside the table.
const char *vrn_builtin_type_name(std::uint32_t id);
std::size_t vrn_builtin_type_size(std::uint32_t id);
std::uint32_t vrn_builtin_type_id(const char *name);

// Prints the table: id, name, size.
void vrn_builtin_types_print(std::FILE *stream);
