// Scope files: one item of a scope list per line, '#' starts a comment.
#pragma once

#include <string>

#include "data/writer/value_filter.h"

// Entries of the file at `path`; none for an empty path. Throws std::runtime_error, after an error
// line with the same text, when the path, the size, a line or the number of entries is refused.
vrn_string_set vrn_load_scope_file(const std::string &path);
