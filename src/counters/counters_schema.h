// Layout of counters rows: groups of counters, their offsets and the row's size.
#pragma once

#include <cstddef>
#include <cstdint>

#include "counters/counter_group.h"
#include "utils/c_ptr.h"

struct vrn_counters_schema_t {
    std::uint32_t size;  // row size in bytes
    std::uint32_t num_groups;
    vrn_counter_group_t **groups;  // owned array of owned groups
};

// Schemas are built once and read only after that: compute offsets and size after the last change.
// Null, after an error line, when out of memory.
[[nodiscard]] vrn_counters_schema_t *vrn_counters_schema_create();
void vrn_counters_schema_destroy(vrn_counters_schema_t *schema);  // accepts null
using vrn_counters_schema_ptr = vrn::CPtr<vrn_counters_schema_t, vrn_counters_schema_destroy>;

// False when names or other texts of its groups and counters are missing, of which the schema's end
// then tells in the log. Accepts null.
bool vrn_counters_schema_has_all_texts(const vrn_counters_schema_t *schema);

// Takes over `group` on success. False after an error line when out of memory.
[[nodiscard]] bool vrn_counters_schema_add_group(vrn_counters_schema_t *schema,
                                                 vrn_counter_group_t *group);

// Adds copies of `count` counters to the first group, which is made with `group_name` when there is
// none, and sets `size` anew; offsets stay for vrn_counters_schema_update_counter_offsets. False
// for null or empty arguments, and after an error line when out of memory.
[[nodiscard]] bool vrn_counters_schema_add_counters(vrn_counters_schema_t *schema,
                                                    const vrn_counter_info_t *counters,
                                                    std::size_t count, const char *group_name);

// Bytes of a row: the `length` of each STRING, 16 of a 128-bit integer, 8 of any other counter,
// whatever its `length`. Repeats of a group don't enter.
std::uint32_t vrn_counters_schema_size_of_counters(const vrn_counters_schema_t *schema);

// Counters of all groups; 0 after an error line when a group has other than one counter set.
std::uint32_t vrn_counters_schema_number_of_counters(const vrn_counters_schema_t *schema);
// Counters of all groups, each as often as its group repeats.
std::uint64_t vrn_counters_schema_number_of_values(const vrn_counters_schema_t *schema);

// Lays the counters out back to back in 32-bit offsets. Deliberate: the step of a plain counter is
// its `length` when it has one, unlike in the row size. An error line and the end of the assignment
// at a STRING of length 0: it and the counters after it keep the offset that they had.
void vrn_counters_schema_update_counter_offsets(vrn_counters_schema_t *schema);

// First counter named `name`, groups in order; null when there is none. Owned by the schema.
vrn_counter_info_t *vrn_counters_schema_find_counter(const vrn_counters_schema_t *schema,
                                                     const char *name);
