// Loading schema documents into a running type system.
#pragma once

#include "data/schema/type_system.h"
#include "data/selection/provider_field_set.h"

// Appends the schema in the file at `path`, with the types and fields that `field_set` chooses
// (null: all), and returns it, borrowed. Its digest stays zero: the file's name is trusted.
// Null with `*out_parsed` set: the set left nothing of the schema, which then takes no place.
// Null with `*out_parsed` clear: failure, after an error line. Without a free place `*out_parsed`
// is left alone. `out_parsed` may be null.
[[nodiscard]] vrn_schema_t *vrn_type_system_load_schema_file(
    vrn_type_system_t *ts, const char *path, const vrn_provider_field_set_t *field_set,
    bool *out_parsed);
// Loads without a field set; a type without fields fails the schema.
[[nodiscard]] vrn_schema_t *vrn_type_system_load_schema_file_all(vrn_type_system_t *ts,
                                                                 const char *path);

// Merges one schema document of either kind. A counters schema takes the place of the system's, and
// `*out_index` is 255; an event schema whose text was merged before is found again by the MD5 of
// that text, else appended. An appended schema that can't be linked stays, so that the indexes of
// those after it hold, with fields that have no `type`.
// 0, or VRN_TYPE_SYSTEM_FAILED: after an error line, or silently without a free place.
[[nodiscard]] std::uint32_t vrn_type_system_add_schema_from_json_string(vrn_type_system_t *ts,
                                                                        const char *text,
                                                                        std::uint8_t *out_index);
