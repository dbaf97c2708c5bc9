// Counters data blocks of a data file.
#pragma once

#include "reader/reader.h"

// The counters block at `block`, when its time is taken, in the chosen format. False fails the
// file.
bool vrn_reader_handle_counters_block(vrn_reader_t *reader, const void *block);
