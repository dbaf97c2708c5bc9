// Turns data files into output.
#pragma once

#include <cstdint>

#include "reader/reader_options.h"

// Number of files that could not be read to their end.
[[nodiscard]] std::int32_t vrn_read_all_files(const vrn_reader_options_t *options);

// True when the file was read to its end. `is_first`: first entry of the list.
[[nodiscard]] bool vrn_read_data_file(const char *path, const vrn_reader_options_t *options,
                                      bool is_first);
