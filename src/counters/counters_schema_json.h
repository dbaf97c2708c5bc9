// The JSON document of a counters schema.
#pragma once

#include <parson.h>

#include <cstdio>

#include "counters/counters_schema.h"
#include "data/schema_id.h"
#include "data/selection/provider_counter_set.h"

// JSON document of a schema. Null after an error line, also when a counter has an id outside its
// name table, which can't be written.
[[nodiscard]] JSON_Value *vrn_counters_schema_jsonify(const vrn_counters_schema_t *schema);
// The document as pretty text, released with json_free_serialized_string; null after an error line.
[[nodiscard]] char *vrn_counters_schema_to_string(const vrn_counters_schema_t *schema);
// The pretty text and a newline, flushed; nothing but the error line when there is no text.
void vrn_counters_schema_print(const vrn_counters_schema_t *schema, std::FILE *stream);

// Reads a document, with offsets and size set. With a counter set, counters that it leaves out are
// dropped and so are the groups they leave empty: the schema then describes a packed row of just
// the counters that stayed. Null after error lines when the document is not a counters schema or
// claims rows whose output would grow without reason. A version mismatch is logged but refuses
// nothing. `counter_set` may be null.
[[nodiscard]] vrn_counters_schema_t *vrn_counters_schema_from_json(
    const JSON_Value *value, const vrn_provider_counter_set_t *counter_set);
[[nodiscard]] vrn_counters_schema_t *vrn_counters_schema_from_string(const char *text);
[[nodiscard]] vrn_counters_schema_t *vrn_counters_schema_from_file(
    const char *path, const vrn_provider_counter_set_t *counter_set);
[[nodiscard]] vrn_counters_schema_t *vrn_counters_schema_from_file_all(const char *path);
// Reads schema_<id>.json of `directory`; null for a null or all-zero id.
[[nodiscard]] vrn_counters_schema_t *vrn_counters_schema_load_by_id(const vrn_schema_id_t *id,
                                                                    const char *directory);
