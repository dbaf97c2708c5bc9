// Record types: named, sized, packed lists of fields.
#pragma once

#include <parson.h>

#include <cstddef>
#include <cstdint>

#include "data/schema/provider_field_set.h"
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
    const vrn_type_definition_t *type;  // borrowed; null until resolved
    std::uint16_t index;                // 0, or the 1-based place in the index list
};

struct vrn_type_definition_t {
    char *name;                // owned
    std::uint32_t builtin_id;  // 0 for a composite type
    std::uint16_t num_fields;
    vrn_type_field_definition_t **fields;  // owned array of owned fields
    std::uint64_t size;                    // bytes of one record
};
