// Counters JSON with the names and labels of a metadata file.
#pragma once

#include <parson.h>

#include "counters/metadata.h"

// Rewrites the JSON value of a counters block in place and returns it: the object of a counter set
// becomes an array of {"name": [value, {labels}]}. Unchanged when either argument is null.
JSON_Value *vrn_metadata_enrich(JSON_Value *value, const vrn_metadata_t *metadata);
