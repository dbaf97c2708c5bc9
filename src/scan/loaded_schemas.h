// The type system that a list of schema ids names, and what its load had to tell.
#pragma once

#include <cstddef>
#include <vector>

#include "data/block.h"
#include "data/schema/type_system.h"
#include "data/schema_id.h"
#include "utils/log_capture.h"

namespace vrn::scan {

// Schema ids of a header or schemas block, zero ids left out.
struct SchemaIds {
    vrn_schema_id_t events[VRN_SCHEMAS_BLOCK_MAX_IDS];  // in the order of the schema indexes
    std::size_t num_events;
    vrn_schema_id_t counters;

    bool operator==(const SchemaIds &other) const;
};

// `ids`: `count` event schema ids, at most VRN_SCHEMAS_BLOCK_MAX_IDS.
SchemaIds make_schema_ids(const vrn_schema_id_t *ids, std::size_t count,
                          const vrn_schema_id_t &counters);

struct LoadedSchemas {
    SchemaIds ids;
    // After a failed load it holds what had been loaded before, or is null.
    vrn_type_system_ptr type_system;
    bool is_whole;
    bool lacks_files = false;  // of schemas that are named
    // False when the set files leave out the whole kind.
    bool takes_events;
    bool takes_counters;
    std::vector<LogLine> messages;  // what the load logged, in order
    // Neither the load nor the end of the type system shows a message: who keeps it looks like who
    // loads anew.
    bool is_quiet;

    const vrn_counters_schema_t *counters_schema() const {
        return type_system ? type_system->counters_schema : nullptr;
    }
    bool has_counters() const { return counters_schema() && counters_schema()->num_groups > 0; }
    bool has_events() const { return type_system && type_system->num_schemas > 0; }
};

}  // namespace vrn::scan
