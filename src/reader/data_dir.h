// Input discovery: every regular file below a folder becomes an input path.
#pragma once

#include "reader/reader_options.h"

// Appends the regular files below `path` to `data_files`, depth first, in the order the folders
// give them; links count as what they point at. Paths are cut to 4095 characters. False after a
// message on standard error; files found before stay in the list.
[[nodiscard]] bool vrn_reader_add_data_dir(vrn_reader_options_t *options, const char *path);
