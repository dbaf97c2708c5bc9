// Whether records can be decoded by a schema's types without leaving their bytes.
#pragma once

#include "data/schema/schema.h"

// One record may expand to this many values and to this many more for each of its bytes. Fields
// that do not overlap never reach it; those that do can't turn few bytes into endless output.
inline constexpr std::uint64_t VRN_MAX_SPARE_VALUES = 256;
inline constexpr std::uint64_t VRN_MAX_VALUES_PER_BYTE = 16;
// Likewise for the bytes of the names that stand before those values.
inline constexpr std::uint64_t VRN_MAX_SPARE_NAME_BYTES = 64 << 20;
inline constexpr std::uint64_t VRN_MAX_NAME_BYTES_PER_BYTE = 256;

// Makes a schema that came from a document usable: binds the fields of all its types, then checks
// that no type contains itself (so that nesting ends within VRN_MAX_TYPES levels), that each field
// lies within its type, and that neither overlapping fields nor long names blow up the output.
// False after one error line at the first type that fails; the fields of that type and of those
// after it then have a null `type`, so that nothing is decoded by them.
[[nodiscard]] bool vrn_schema_link_types(vrn_schema_t *schema);
