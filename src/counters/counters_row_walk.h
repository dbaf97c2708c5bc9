// The walk over one counters row, for sinks that make a JSON tree or JSON text of it. A Sink has
//   void time(std::uint64_t timestamp),
//   void text(const char *key, const char *value),
//   bool begin_array(const char *key), void end_array(),
//   bool begin_group(std::size_t index), void end_group(),
//   bool set(const vrn_counter_group_t &) for the values of all counters of a group.
// False ends the walk. What can't be set leaves its key out.
#pragma once

#include "counters/counters_schema.h"

namespace vrn {

inline const char *counter_group_name(const vrn_counter_group_t &group) {
    if (group.name) return group.name;
    return group.provider_hooks ? group.provider_hooks->name : "unset";
}

template <typename Sink>
[[nodiscard]] bool walk_counter_group(const vrn_counter_group_t &group, Sink &sink) {
    sink.text("granularity", vrn_counter_group_granularity_name(&group));
    sink.text("name", counter_group_name(group));
    if (!sink.begin_array("counter_sets")) return false;
    // All sets are made from the values at the row's start, deliberately: they are equal.
    for (std::uint32_t set = 0; set < group.num_counter_sets; ++set) {
        if (!sink.set(group)) return false;
    }
    sink.end_array();
    return true;
}

// The members of a row's object.
template <typename Sink>
[[nodiscard]] bool walk_counters_row(std::uint64_t timestamp, const vrn_counters_schema_t &schema,
                                     Sink &sink) {
    sink.time(timestamp);
    if (!sink.begin_array("groups")) return false;
    for (std::uint32_t i = 0; i < schema.num_groups; ++i) {
        if (!sink.begin_group(i) || !walk_counter_group(*schema.groups[i], sink)) return false;
        sink.end_group();
    }
    sink.end_array();
    return true;
}

}  // namespace vrn
