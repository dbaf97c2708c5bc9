// JSON documents that come from outside: files, and the checks of what stands in them.
#pragma once

#include <parson.h>

#include <cstdint>

#include "data/text/json_value.h"

// Value of the document at `path`. Null, with errno as it was left, when there is none. Only
// regular files have an end to read to: a folder has no text, a pipe may never give one.
[[nodiscard]] vrn_json_value_ptr vrn_json_file_parse(const char *path);

// Value of a template: a fixed text that names the keys and types that a document must have, for
// json_validate(). Null after an error line.
[[nodiscard]] vrn_json_value_ptr vrn_json_template_parse(const char *text);

// Number under `key`, its fraction cut off; 0 for an absent key or a value that is no number.
// False after one error line when it is negative or above `max`; `out` is then untouched.
[[nodiscard]] bool vrn_json_number_to_uint(const JSON_Object *object, const char *key,
                                           std::uint64_t max, std::uint64_t *out);
