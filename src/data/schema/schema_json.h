// Schema documents: a provider's schema as JSON, its id, and back.
#pragma once

#include <parson.h>

#include "data/schema/schema.h"
#include "data/selection/provider_field_set.h"

// New value that the caller frees with json_value_free; built-in types are not written. Null for a
// schema without types or with something that JSON can't hold.
[[nodiscard]] JSON_Value *vrn_schema_to_json(const vrn_schema_t *schema);

// JSON text of one type, also a built-in one of the parent; ends with json_free_serialized_string.
// Null when there is no such type or it can't be written.
[[nodiscard]] char *vrn_schema_type_to_string(const vrn_schema_t *schema, const char *type_name,
                                              bool pretty);

// Unlinked schema, the caller's, with the types and fields that `field_set` chooses; null takes all
// of them. Dropped types take no place: type indexes count those that stayed.
// Null with `*out_parsed` set: the set left no type. Null with `*out_parsed` clear: the document is
// bad, or not of this kind. Without `out_parsed`, which may be null, a type without fields fails.
[[nodiscard]] vrn_schema_t *vrn_schema_from_json(const JSON_Value *value,
                                                 const vrn_provider_field_set_t *field_set,
                                                 bool *out_parsed);
[[nodiscard]] vrn_schema_t *vrn_schema_from_json(const JSON_Value *value);

// Reads a schema file, links its types, also to those of `parent` (borrowed, may be null), and
// computes the digest. The caller's; null after an error line.
[[nodiscard]] vrn_schema_t *vrn_schema_load_from_file(const char *path, const vrn_schema_t *parent);

// The schema's id: MD5 of its pretty JSON text. False, `digest` untouched, when it has no JSON.
[[nodiscard]] bool vrn_schema_compute_digest(const vrn_schema_t *schema, vrn_schema_id_t *digest);
// Computes the digest of the record anew, unless it has no types, and the hexadecimal text with it.
// False after an error line, the digest as it was: the schema has no JSON.
[[nodiscard]] bool vrn_schema_refresh_digest(vrn_schema_t *schema);
