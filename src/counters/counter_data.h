// Counters data blocks as JSON values.
#pragma once

#include <parson.h>

#include <cstdint>

#include "counters/counters_schema.h"
#include "data/block.h"
#include "utils/byte_reader.h"

// Object of one row with `timestamp`, `@timestamp` (with 6 or 3 digits after the point) and
// `groups`; freed by the caller. `values` are the bytes at hand from the row's start on, which may
// be fewer than the schema describes: what is missing reads as zeros. A value that JSON can't hold
// (a double that is no number, a text that is no UTF-8) leaves its key out. Null: out of memory.
[[nodiscard]] JSON_Value *vrn_counters_row_to_json(std::uint64_t timestamp, vrn::Bytes values,
                                                   const vrn_counters_schema_t *schema,
                                                   bool microseconds);

// A row whose bytes follow `block` as far as the offsets and types of the counters reach.
[[nodiscard]] JSON_Value *vrn_counters_block_to_json(const vrn_data_block_t *block,
                                                     const vrn_counters_schema_t *schema,
                                                     bool microseconds);
