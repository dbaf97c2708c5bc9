// JSON values: who owns them, and how documents are built whose parts may fail to come into being.
#pragma once

#include <parson.h>

#include <cstdint>

#include "utils/c_ptr.h"

using vrn_json_value_ptr = vrn::CPtr<JSON_Value, json_value_free>;
using vrn_json_text_ptr = vrn::CPtr<char, json_free_serialized_string>;

// Each hands `value` over to the document, or frees it. False for a null value or out of memory.
[[nodiscard]] bool vrn_json_set(JSON_Object *object, const char *key, vrn_json_value_ptr value);
[[nodiscard]] bool vrn_json_append(JSON_Array *array, vrn_json_value_ptr value);

// False for a null text, which an id outside its name table has, for one that is no UTF-8, and when
// out of memory.
[[nodiscard]] bool vrn_json_set_text(JSON_Object *object, const char *key, const char *text);
// Written as the double nearest to it.
[[nodiscard]] bool vrn_json_set_number(JSON_Object *object, const char *key, std::uint64_t number);

// New empty array under `key`, borrowed from the object. Null: out of memory.
[[nodiscard]] JSON_Array *vrn_json_add_array(JSON_Object *object, const char *key);
