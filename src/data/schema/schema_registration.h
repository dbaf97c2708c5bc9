// Building schemas in code: new types with computed offsets, and the index list of a type.
#pragma once

#include "data/schema/schema.h"

enum vrn_schema_result_t : std::int32_t {
    VRN_SCHEMA_OK = 0,
    VRN_SCHEMA_NO_MEMORY = 1,      // or an internal lookup failed
    VRN_SCHEMA_DUPLICATE = 2,      // the type exists, or a field name repeats
    VRN_SCHEMA_BAD_ARGUMENT = 3,   // of a new type: the type of a field is undefined
    VRN_SCHEMA_LIMIT_REACHED = 5,  // of types in a schema or of fields in a type
};

// Registers a type of `count` fields, at least one and at most 65535, packed in the given order
// without alignment. The types of the fields must be known to the schema or its parents.
// `out_type_index` may be null. All but VRN_SCHEMA_OK leave the schema as it was and have logged
// one error line.
[[nodiscard]] vrn_schema_result_t vrn_schema_add_type(vrn_schema_t *schema, const char *type_name,
                                                      const vrn_type_field_info_t *fields_info,
                                                      std::size_t count,
                                                      std::uint8_t *out_type_index);

// Numbers the fields of a type from 1 in the order of `index_names`; fields not named get 0, names
// that match no field take no number, a repeated one gives its field the later number.
// VRN_SCHEMA_OK, or VRN_SCHEMA_BAD_ARGUMENT after an error line.
[[nodiscard]] vrn_schema_result_t vrn_schema_set_field_indexes(vrn_schema_t *schema,
                                                               std::uint32_t type_index,
                                                               const char *const *index_names,
                                                               std::size_t count);

// Names of the fields with an index, in field order, and their number in `out_count`. The caller
// frees the array; the names belong to the fields. Null and count 0 after an error line.
[[nodiscard]] const char **vrn_schema_get_indexed_field_names(const vrn_schema_t *schema,
                                                              std::uint32_t type_index,
                                                              std::size_t *out_count);
