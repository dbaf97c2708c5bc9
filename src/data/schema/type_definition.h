// Record types: named, sized, packed lists of fields.
#pragma once

#include <cstddef>
#include <cstdint>

#include "data/schema/builtin_types.h"
#include "data/text/json_name.h"
#include "utils/c_ptr.h"

struct vrn_type_definition_t;

struct vrn_type_field_definition_t {
    char *field_name;         // owned
    char *description;        // owned
    char *type_name;          // owned; name of the element type
    std::uint64_t type_size;  // bytes of one element
    std::uint32_t counting_mode;
    std::uint16_t array_length;         // 1 for a scalar
    std::uint64_t offset;               // bytes from the start of the enclosing record
    const vrn_type_definition_t *type;  // borrowed; null until bound
    std::uint16_t index;                // 0, or the 1-based place in the index list
    vrn_value_form_t form;              // of one element
    std::uint8_t spare_bits;            // above the value in the 64 bits read for an integer
    vrn_json_name_t json_name;          // of `field_name`; empty when that is null
};

struct vrn_type_definition_t {
    char *name;                // owned
    std::uint32_t builtin_id;  // 0 for a composite type
    std::uint16_t num_fields;
    vrn_type_field_definition_t **fields;  // owned array of owned fields
    std::uint64_t size;                    // bytes of one record
    bool has_repeated_names;               // of fields; set when a schema takes the type
};

// What a caller tells about one field of a new type. Texts are copied; null ones stay null.
struct vrn_type_field_info_t {
    const char *name;
    const char *description;
    const char *type_name;
    std::uint32_t counting_mode;
    std::uint16_t array_length;
};

// Unresolved field at offset 0 with a `type_size` of 0. Null: out of memory.
[[nodiscard]] vrn_type_field_definition_t *vrn_field_definition_create(
    const vrn_type_field_info_t *info);
void vrn_field_definition_destroy(vrn_type_field_definition_t *field);  // accepts null
using vrn_field_definition_ptr =
    vrn::CPtr<vrn_type_field_definition_t, vrn_field_definition_destroy>;

// Gives the field the type of its elements; null takes it away.
void vrn_field_definition_bind(vrn_type_field_definition_t *field,
                               const vrn_type_definition_t *type);

// Composite type of size 0 without fields or room for any. Null: out of memory.
[[nodiscard]] vrn_type_definition_t *vrn_type_definition_create(const char *name);
void vrn_type_definition_destroy(vrn_type_definition_t *type);  // accepts null
using vrn_type_definition_ptr = vrn::CPtr<vrn_type_definition_t, vrn_type_definition_destroy>;

// Makes room for `max_fields` fields in a new type. False: out of memory.
[[nodiscard]] bool vrn_type_definition_reserve(vrn_type_definition_t *type,
                                               std::uint16_t max_fields);
// Moves `field` after the others; room for it must have been reserved. Returns it, borrowed.
vrn_type_field_definition_t *vrn_type_definition_append(vrn_type_definition_t *type,
                                                        vrn_field_definition_ptr field);
