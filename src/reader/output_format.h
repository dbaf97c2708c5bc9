// Names of the output formats.
#pragma once

#include "reader/reader_options.h"

// Exact names; false when `name` is unknown, `format` then untouched.
[[nodiscard]] bool vrn_output_format_from_name(const char *name, vrn_output_format_t *format);
const char *vrn_output_format_name(vrn_output_format_t format);  // null outside the table
