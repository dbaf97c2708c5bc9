// Loads the type system that a file header or a schemas block names.
#pragma once

#include "reader/reader.h"

// Replaces the context's type system by the event schemas of the `count` ids and the counters
// schema of the header, through the field and counter sets of the options. All-zero ids are
// skipped; at most VRN_SCHEMAS_BLOCK_MAX_IDS are given. What is loaded already isn't loaded again.
// False after one line.
bool vrn_reader_load_type_system(vrn_reader_t *reader, const vrn_schema_id_t *ids,
                                 std::size_t count);
