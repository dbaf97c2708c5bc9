// The fields of an event type as columns.
#pragma once

#include <vector>

#include "data/schema/type_definition.h"
#include "sql/record_field.h"

namespace vrn::sql {

// The fields of `type` that have values, in order. Fields of one name get numbers after it. Throws
// QueryError when its records hold more values than a table may have columns.
std::vector<RecordField> event_fields(const vrn_type_definition_t &type);

}  // namespace vrn::sql
