// The walk over one counters row, for sinks that make a JSON tree or JSON text of it. A Sink has
//   void time(std::uint64_t timestamp),
//   bool begin_groups(), void end_groups(),
//   bool begin_group(std::size_t index, const vrn_counter_group_t &) for its object, the members
//     before its sets and their array, void end_group(),
//   bool set(const vrn_counter_group_t &) for the values of all counters of a group.
// False ends the walk. What can't be set leaves its key out.
#pragma once

#include "counters/counters_schema.h"

namespace vrn {

inline const char *counter_group_name(const vrn_counter_group_t &group) {
    if (group.name) return group.name;
    return group.provider_hooks ? group.provider_hooks->name : "unset";
}

// What a group tells before its sets, as void members.member(const char *key, const char *value).
template <typename Members>
void add_group_members(const vrn_counter_group_t &group, Members &members) {
    members.member("granularity", vrn_counter_group_granularity_name(&group));
    members.member("name", counter_group_name(group));
}
inline constexpr char counter_sets_key[] = "counter_sets";

// The members of a row's object.
template <typename Sink>
[[nodiscard]] bool walk_counters_row(std::uint64_t timestamp, const vrn_counters_schema_t &schema,
                                     Sink &sink) {
    sink.time(timestamp);
    if (!sink.begin_groups()) return false;
    for (std::uint32_t i = 0; i < schema.num_groups; ++i) {
        const vrn_counter_group_t &group = *schema.groups[i];
        if (!sink.begin_group(i, group)) return false;
        // All sets are made from the values at the row's start, deliberately: they are equal.
        for (std::uint32_t set = 0; set < group.num_counter_sets; ++set)
            if (!sink.set(group)) return false;
        sink.end_group();
    }
    sink.end_groups();
    return true;
}

}  // namespace vrn
