// Blocks of the example in a data page.
#pragma once

#include <cstddef>
#include <cstdint>

#include <vrn/data/data_page.h>
#include "sensor.h"

// Adds `size` bytes to the page, if it has room for them.
void put_bytes(vrn_data_page_t *page, const void *bytes, std::size_t size);

// A schemas block, which names the schemas of the events after it.
void put_schemas_block(vrn_data_page_t *page, const vrn_schema_id_t &id);

// One event block with `row`; `timestamp` is in microseconds. The page must have room.
void put_fan(vrn_data_page_t *page, std::uint64_t timestamp, const FanRow &row);
