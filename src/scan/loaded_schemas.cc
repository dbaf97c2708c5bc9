#include "scan/loaded_schemas.h"

#include <cstring>

namespace vrn::scan {

bool SchemaIds::operator==(const SchemaIds &other) const {
    return num_events == other.num_events &&
           std::memcmp(events, other.events, num_events * sizeof *events) == 0 &&
           vrn_schema_id_compare(&counters, &other.counters) == 0;
}

SchemaIds make_schema_ids(const vrn_schema_id_t *ids, std::size_t count,
                          const vrn_schema_id_t &counters) {
    SchemaIds named{};
    // Zero ids take no place: the ids after them move up, as schema indexes do.
    for (std::size_t i = 0; i < count; ++i)
        if (!vrn_schema_id_is_zero(&ids[i])) named.events[named.num_events++] = ids[i];
    named.counters = counters;
    return named;
}

}  // namespace vrn::scan
