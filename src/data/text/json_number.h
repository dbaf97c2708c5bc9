// Numbers of JSON documents as unsigned integers.
#pragma once

#include <parson.h>

#include <cstdint>

// Number under `key`, its fraction cut off; 0 for an absent key or a value that is no number.
// False after one error line when it is negative or above `max`; `out` is then untouched.
bool vrn_json_number_to_uint(const JSON_Object *object, const char *key, std::uint64_t max,
                             std::uint64_t *out);
