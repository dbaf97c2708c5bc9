// Counters data blocks as JSON and as text tables.
#pragma once
#include "counters/counters_schema.h"
#include "data/block.h"
// `block` is followed by the schema's values; the caller guarantees readable bytes for all of them.
JSON_Value *vrn_counters_block_to_json(const vrn_data_block_t *block,
                                       const vrn_counters_schema_t *schema, bool microseconds);
void vrn_counters_block_print(std::FILE *stream, const vrn_data_block_t *block,
                              const vrn_counters_schema_t *schema, bool microseconds);
