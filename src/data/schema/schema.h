// One event provider's schema: its name, version and record types.
#pragma once
#include "data/schema/type_definition.h"
#include "data/schema_id.h"

inline constexpr std::size_t VRN_MAX_TYPES = 254;

struct vrn_schema_t {
    std::uint32_t provider_version;               // packed
    char *provider_name;                          // owned; may be null
    vrn_type_definition_t *types[VRN_MAX_TYPES];  // owned; the place is the type index
    std::uint8_t num_types;
    const vrn_schema_t *parent;  // borrowed; lookups go on here
    vrn_schema_id_t md5_digest;  // all zero until computed
    char md5_digest_hex[VRN_SCHEMA_ID_HEX_SIZE];
};
