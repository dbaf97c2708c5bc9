// Types and fields as JSON, and back.
#pragma once

#include <parson.h>

#include "data/schema/type_definition.h"
#include "data/selection/provider_field_set.h"

// New values that the caller frees with json_value_free. Null when a text of the field is null or
// not valid UTF-8, or its counting mode has no name.
[[nodiscard]] JSON_Value *vrn_field_definition_to_json(const vrn_type_field_definition_t *field);
[[nodiscard]] JSON_Value *vrn_type_definition_to_json(const vrn_type_definition_t *type);

// Unresolved field, the caller's. Null after an error line.
[[nodiscard]] vrn_type_field_definition_t *vrn_field_definition_from_json(const JSON_Value *value);

// Unresolved type, the caller's, with the fields that `field_set` chooses; null takes all of them.
// Null with `*out_parsed` set: the type was dropped because no field is left or the set has no use
// for it. Null with `*out_parsed` clear: the document is bad. `out_parsed` may be null.
[[nodiscard]] vrn_type_definition_t *vrn_type_definition_from_json(
    const JSON_Value *value, const vrn_provider_field_set_t *field_set, bool *out_parsed);
[[nodiscard]] vrn_type_definition_t *vrn_type_definition_from_json(const JSON_Value *value);
