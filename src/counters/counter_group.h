// Counters and the groups that hold them: the description of one row of numbers.
#pragma once

#include <cstdint>
#include <cstdio>

#include "utils/c_ptr.h"

struct vrn_counter_info_t {
    std::uint32_t id;             // set by callers that build counters in code; not stored in JSON
    char *name;                   // owned; key in JSON output
    char *description;            // owned
    char *units;                  // owned
    std::uint32_t data_type;      // vrn_counter_data_type_t, or all ones for an unknown name
    std::uint32_t counting_type;  // vrn_counting_type_t, or all ones for an unknown name
    std::uint32_t offset;         // bytes into the values of a data block
    std::uint32_t length;         // bytes of a STRING; 0 means default for others
    std::uint32_t slot;           // 0 when read from JSON
    std::uint8_t hidden;          // 0 or 1
    std::uint8_t mandatory;       // 0 or 1
    std::uint8_t index;           // position in an index list, 0 for none
    std::uint32_t string_format;  // vrn_string_format_t, or all ones for an unknown name
};

struct vrn_counter_group_t;

// Functions of a collecting provider; nothing in the reader fills the table.
struct vrn_provider_hooks_t {
    const char *name;
    vrn_counter_group_t *(*create_group)(const char *name, const char *provider);
    void (*destroy_group)(vrn_counter_group_t *group);
    bool (*add_counter)(vrn_counter_group_t *group, const vrn_counter_info_t *counter);
    int (*collect)(vrn_counter_group_t *group);
    int (*collect_with)(vrn_counter_group_t *group, int argument);
};

struct vrn_counter_group_t {
    const vrn_provider_hooks_t *provider_hooks;  // borrowed; null in the reader
    void *component;                             // borrowed; null in the reader
    std::uint32_t granularity;                   // vrn_granularity_t, or all ones
    std::uint32_t num_counter_sets;              // repeats, one for each unit of the granularity
    std::uint32_t num_counters;
    vrn_counter_info_t **counters;  // owned array of owned counters
    char *name;                     // owned; may be null
    char *provider;                 // owned; may be null
};

// Deep copy, but for `hidden`, which is 0 in the copy: deliberate. Null when out of memory.
[[nodiscard]] vrn_counter_info_t *vrn_counter_info_copy(const vrn_counter_info_t *counter);
// Accepts null. Each inner text that is null is logged at level 4.
void vrn_destroy_counter_info(vrn_counter_info_t *counter);
using vrn_counter_info_ptr = vrn::CPtr<vrn_counter_info_t, vrn_destroy_counter_info>;
// A table row of name and description.
void vrn_counter_info_print(const vrn_counter_info_t *counter, std::FILE *stream);

// A group of one counter set and granularity NODE; null texts become empty ones. Null when out of
// memory.
[[nodiscard]] vrn_counter_group_t *vrn_counter_group_create(const char *name, const char *provider);
// Accepts null. A group with provider hooks goes through their destroy operation; else the group
// ends with its counters, and each inner text that is null is logged at level 4.
void vrn_free_counter_group(vrn_counter_group_t *group);
using vrn_counter_group_ptr = vrn::CPtr<vrn_counter_group_t, vrn_free_counter_group>;

// Appends a deep copy of `counter`. With provider hooks their operation, which must count the
// entry, decides; without, the group counts it. False, after an error line when out of memory.
[[nodiscard]] bool vrn_counter_group_add_counter(vrn_counter_group_t *group,
                                                 const vrn_counter_info_t *counter);
// A table of the counters' names and descriptions.
void vrn_counter_group_print(const vrn_counter_group_t *group, std::FILE *stream);

// Name of the granularity; "unknown" for an id outside the table.
const char *vrn_counter_group_granularity_name(const vrn_counter_group_t *group);
