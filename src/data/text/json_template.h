// Templates of JSON documents: fixed texts that name the keys and types a document must have.
#pragma once

#include <parson.h>

#include "utils/c_ptr.h"

using vrn_json_value_ptr = vrn::CPtr<JSON_Value, json_value_free>;
using vrn_json_text_ptr = vrn::CPtr<char, json_free_serialized_string>;

// Value of a template text, for json_validate. Null after an error line.
vrn_json_value_ptr vrn_json_template_parse(const char *text);
