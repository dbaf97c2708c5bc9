// JSON documents in files.
#pragma once

#include "data/text/json_template.h"

// Value of the document at `path`. Null, with errno as it was left, when there is none. Only
// regular files have an end to read to: a folder has no text, a pipe may never give one.
vrn_json_value_ptr vrn_json_file_parse(const char *path);
