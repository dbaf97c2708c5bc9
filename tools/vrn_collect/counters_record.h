// A machine sample as one counters data block.
#pragma once

#include <string>

#include "counters/counters_schema.h"
#include "vrn_collect/proc_sample.h"

namespace vrn::collect {

// Schema with one counter for each number of `sample`; all are 8 bytes wide.
[[nodiscard]] vrn_counters_schema_ptr make_counters_schema(const ProcSample &sample);

// The block of `sample` for a schema made from a sample of the same devices.
std::string make_counters_block(const ProcSample &sample, const vrn_counters_schema_t &schema);

}  // namespace vrn::collect
