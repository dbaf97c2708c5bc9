// Whether records can be decoded by a schema's types without leaving their bytes.
#pragma once

#include "data/schema/schema.h"

// Composite types may be nested this deep, a type of scalars alone counting 1.
inline constexpr std::uint32_t VRN_MAX_TYPE_DEPTH = 64;
// One record may expand to this many values, plus one for each of its bytes. Fields that do not
// overlap never reach it.
inline constexpr std::uint64_t VRN_MAX_SPARE_VALUES = 65536;

// Makes a schema that came from a document usable: binds the fields of all its types, then checks
// that no type contains itself or is nested too deep, that each field lies within its type, and
// that overlapping fields do not blow up the number of values.
// False after one error line at the first type that fails; the fields of that type and of those
// behind it then have a null `type`, so that nothing is decoded by them.
bool vrn_schema_link_types(vrn_schema_t *schema);
