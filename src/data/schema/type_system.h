// Everything needed to decode one data file: built-in types, event schemas, one counters schema.
#pragma once
#include "counters/counters_schema.h"
#include "data/schema/schema.h"

inline constexpr std::size_t VRN_MAX_SCHEMAS = 255;

struct vrn_type_system_t {
    vrn_schema_t *builtin_schema;            // owned; parent of all others
    vrn_schema_t *schemas[VRN_MAX_SCHEMAS];  // owned; the place is the schema index
    std::uint8_t num_schemas;
    vrn_counters_schema_t *counters_schema;  // owned; may be empty or null
    vrn_schema_id_t counters_schema_id;      // all zero until computed
};
