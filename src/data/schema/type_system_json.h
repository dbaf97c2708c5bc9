// Type-system documents: a whole system in one JSON text.
#pragma once

#include <parson.h>

#include "data/schema/type_system.h"

// New value that the caller frees with json_value_free. Schemas without types are passed over.
// Null when something can't be written; of a counters schema that is logged.
[[nodiscard]] JSON_Value *vrn_type_system_to_json(const vrn_type_system_t *ts);
// Text of the same, which ends with json_free_serialized_string.
[[nodiscard]] char *vrn_type_system_to_string(const vrn_type_system_t *ts, bool pretty);

// Reads a type-system document, or a counters schema document as a system of that schema alone.
// The caller's; null after an error line. A document older than the minimal version is read all the
// same, after an error line. A system without a counters schema has a null one.
[[nodiscard]] vrn_type_system_t *vrn_type_system_from_json(const JSON_Value *value);
[[nodiscard]] vrn_type_system_t *vrn_type_system_from_string(const char *text);
