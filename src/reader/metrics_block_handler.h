// Output of metrics stream blocks.
#pragma once

#include <cstddef>

#include "reader/reader.h"

// Prints the CNTX block at `block`, of at most `size` bytes, as one JSON value. Formats other than
// JSON are refused in words, which is no failure. False fails the file, after a line.
bool vrn_reader_handle_metrics_block(vrn_reader_t *reader, const void *block, std::size_t size);
