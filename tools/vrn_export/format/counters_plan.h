// What is exported of the rows of counters.
#pragma once

#include <string>
#include <vector>

#include "counters/counters_schema.h"
#include "vrn_export/format/record_selection.h"
#include "vrn_export/format/row_value.h"

namespace vrn::exporter {

struct PlannedCounter {
    std::string name;
    RowValue value;
    const vrn_counter_info_t *counter;  // borrowed from the schema
};

// One group; all its sets are read from the same bytes, so they are told once.
struct GroupPlan {
    std::string name;
    std::vector<PlannedCounter> counters;  // not empty
};

// The groups that have selected counters. Of two counters of a group with one name the first gives
// the place and the last the value.
std::vector<GroupPlan> make_group_plans(const vrn_counters_schema_t &schema,
                                        const RecordSelection &selection);

}  // namespace vrn::exporter
