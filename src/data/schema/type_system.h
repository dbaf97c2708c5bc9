// Everything needed to decode one data file: built-in types, event schemas, one counters schema.
#pragma once
#include "counters/counters_schema.h"
#include "data/schema/schema.h"

// Fixed by the width of the count and of the schema index in event blocks.
inline constexpr std::size_t VRN_MAX_SCHEMAS = 255;
// Result of the functions below that return 0 for success.
inline constexpr std::uint32_t VRN_TYPE_SYSTEM_FAILED = 0xFFFFFFFF;

struct vrn_type_system_t {
    vrn_schema_t *builtin_schema;            // owned; parent of all others
    vrn_schema_t *schemas[VRN_MAX_SCHEMAS];  // owned; the place is the schema index
    std::uint8_t num_schemas;
    vrn_counters_schema_t *counters_schema;  // owned; may be empty or null
    vrn_schema_id_t counters_schema_id;      // all zero until computed
};

// System with the built-in types and an empty counters schema. Null: out of memory.
[[nodiscard]] vrn_type_system_t *vrn_type_system_create();
void vrn_type_system_destroy(vrn_type_system_t *ts);  // accepts null
using vrn_type_system_ptr = vrn::CPtr<vrn_type_system_t, vrn_type_system_destroy>;

// Appends an empty schema with the built-in one as parent and returns it, borrowed. Null without a
// free place or memory. `provider_name` and `out_index` may be null.
[[nodiscard]] vrn_schema_t *vrn_type_system_add_new_schema(vrn_type_system_t *ts,
                                                           const char *provider_name,
                                                           std::uint32_t provider_version,
                                                           std::uint8_t *out_index);

// Moves `schema` into the next free place and tells it in `out_index`, which may be null; returns
// it, borrowed. Null, the schema destroyed, when all places are taken.
vrn_schema_t *vrn_type_system_append(vrn_type_system_t *ts, vrn_schema_ptr schema,
                                     std::uint8_t *out_index);

// Type of the rows of an event block; null when the system has none. Of the type index only the low
// 8 bits count, although the field is 16 bits wide on disk.
const vrn_type_definition_t *vrn_type_system_find_type(const vrn_type_system_t *ts,
                                                       std::uint8_t schema_index,
                                                       std::uint16_t type_index);

// Destroys the last schema and returns the new count; 0 when there is none.
std::uint8_t vrn_type_system_remove_last_schema(vrn_type_system_t *ts);

// Links `schema` with the system: the built-in schema becomes its parent and the fields of its
// types are bound and checked. False after one error line; the types that could not be linked then
// have fields without a `type`, by which nothing may be decoded.
[[nodiscard]] bool vrn_type_system_adjust_type_fields(const vrn_type_system_t *ts,
                                                      vrn_schema_t *schema);

// Links and appends the schemas of `other`; both systems then hold them, so one of the two must
// give up its places before it is destroyed. 0, or VRN_TYPE_SYSTEM_FAILED after an error line, the
// schemas before the bad one staying. `out_index` (may be null) gets the last place.
[[nodiscard]] std::uint32_t vrn_type_system_add_schemas_of(vrn_type_system_t *ts,
                                                           const vrn_type_system_t *other,
                                                           std::uint8_t *out_index);

// Computes digest and hexadecimal text of every schema anew. False after an error line at the first
// that has none; it and those after it keep what they had.
[[nodiscard]] bool vrn_type_system_refresh_digests(vrn_type_system_t *ts);

// First schema whose hexadecimal digest is `hex`; its place goes to `out_index`, which may be null.
[[nodiscard]] bool vrn_type_system_find_schema_by_hex(const vrn_type_system_t *ts, const char *hex,
                                                      std::uint8_t *out_index);

// Id of the counters schema, computed at the first call. Without a counters schema `out_id` is left
// alone and the result is true. False when the schema has no JSON.
[[nodiscard]] bool vrn_type_system_get_counters_schema_id(vrn_type_system_t *ts,
                                                          vrn_schema_id_t *out_id);

// Bytes of the largest event record, capped to 32 bits; 0 without types. Built-in types don't
// count.
std::uint32_t vrn_type_system_max_type_size(const vrn_type_system_t *ts);
// Bytes of the largest event record or counters row, likewise.
std::uint32_t vrn_type_system_max_record_size(const vrn_type_system_t *ts);
