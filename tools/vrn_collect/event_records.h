// A machine sample as event blocks: CPUs, interfaces and the machine's load.
#pragma once

#include <string>
#include <vector>

#include "data/schema/schema.h"
#include "data/schema/type_system.h"
#include "vrn_collect/proc_sample.h"

namespace vrn::collect {

// Registers the event types in `types`; their schema is the first one.
const vrn_schema_t &add_event_schema(vrn_type_system_t *types);

// One block for each event type that `sample` has rows for.
std::vector<std::string> make_event_blocks(const ProcSample &sample);

}  // namespace vrn::collect
