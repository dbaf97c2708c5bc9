// Counters data blocks as JSON and as text tables.
#pragma once

#include <parson.h>

#include <cstdint>
#include <cstdio>

#include "counters/counters_schema.h"
#include "data/block.h"
#include "utils/byte_reader.h"

// Object of one row with `timestamp`, `@timestamp` (with 6 or 3 digits behind the point) and
// `groups`; freed by the caller. `values` are the bytes at hand from the row's start on, which may
// be fewer than the schema describes: what is missing reads as zeros. A value that JSON can't hold
// (a double that is no number, a text that is no UTF-8) leaves its key out. Null: out of memory.
JSON_Value *vrn_counters_row_to_json(std::uint64_t timestamp, vrn::Bytes values,
                                     const vrn_counters_schema_t *schema, bool microseconds);
// The state of the GUID switch for counters, read once.
bool vrn_counters_convert_guids();
// The time and a table of each group. Values are read from 8-byte slots in the order of the
// counters and not at their offsets: right only for rows of 8-byte values, deliberately.
void vrn_counters_row_print(std::FILE *stream, std::uint64_t timestamp, vrn::Bytes values,
                            const vrn_counters_schema_t *schema, bool microseconds);

// Bytes of values that each form of a block uses: as far as the counters' offsets and types reach,
// and as far as the slots of all counter sets do. Neither is below the row's size.
std::uint64_t vrn_counters_schema_row_reach(const vrn_counters_schema_t *schema);
std::uint64_t vrn_counters_schema_table_reach(const vrn_counters_schema_t *schema);

// The same for a block that is known to be followed by as many readable bytes as the form uses.
JSON_Value *vrn_counters_block_to_json(const vrn_data_block_t *block,
                                       const vrn_counters_schema_t *schema, bool microseconds);
void vrn_counters_block_print(std::FILE *stream, const vrn_data_block_t *block,
                              const vrn_counters_schema_t *schema, bool microseconds);
