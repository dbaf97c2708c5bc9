// Event records as JSON values, walked by their type. Values belong to the caller.
#pragma once

#include <parson.h>

#include <cstdint>

#include "data/schema/type_definition.h"

// Object of one record of `type->size` bytes; null when the record can't be expressed. A guid word
// field reads 8 bytes whatever its width: give records 8 bytes of readable slack.
[[nodiscard]] JSON_Value *vrn_event_to_json(const vrn_type_definition_t *type, const void *record);

// Value of one field; `data` is its first byte. Null on failure.
[[nodiscard]] JSON_Value *vrn_event_field_value_to_json(const vrn_type_field_definition_t *field,
                                                        const void *data);
[[nodiscard]] JSON_Value *vrn_event_field_element_to_json(const vrn_type_field_definition_t *field,
                                                          const void *data);
[[nodiscard]] JSON_Value *vrn_event_field_array_to_json(const vrn_type_field_definition_t *field,
                                                        const void *data);

// One built-in value; null for an id outside the table. `field_name` may be null.
[[nodiscard]] JSON_Value *vrn_scalar_to_json(std::uint32_t builtin_id, const void *data,
                                             const char *field_name);

// The state of the GUID switch for events, read once.
bool vrn_event_converts_guids();
