// Counters of the example: a node with two adapters.
#pragma once

#include <cstdint>

#include <vrn/data/data_page.h>
#include <vrn/data/schema/type_system.h>

// Describes the counters in the counters schema of `types`. False after an error line.
bool add_nic_schema(vrn_type_system_t *types);

// Tells the page of which adapters its counters are.
void put_adapters(vrn_data_page_t *page);

// One counters block with values that grow with `round`; `timestamp` is in microseconds. The page
// must have room.
void put_nic_counters(vrn_data_page_t *page, std::uint64_t timestamp, std::uint64_t round);
