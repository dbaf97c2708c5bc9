// The counters of a schema as columns.
#pragma once

#include <vector>

#include "counters/counters_schema.h"
#include "sql/record_field.h"

namespace vrn::sql {

// `time` and the counters of all groups, found from a counters block's start on. Each group comes
// once, since all of its sets are read from the same bytes. A name of several counters has that of
// its group before it.
std::vector<RecordField> counter_fields(const vrn_counters_schema_t &schema);

}  // namespace vrn::sql
