// Building of JSON documents whose parts may fail to come into being.
#pragma once

#include <parson.h>

#include "data/text/json_template.h"

// Each hands `value` over to the document, or frees it. False for a null value or out of memory.
bool vrn_json_set(JSON_Object *object, const char *key, vrn_json_value_ptr value);
bool vrn_json_append(JSON_Array *array, vrn_json_value_ptr value);

// New empty array under `key`, borrowed from the object. Null: out of memory.
JSON_Array *vrn_json_add_array(JSON_Object *object, const char *key);
