// The id-and-name tables of schemas.
#pragma once

#include "data/text/string_format.h"
#include "utils/name_table.h"

enum vrn_counter_data_type_t : std::uint32_t {
    VRN_DATA_UNDEFINED = 0,
    VRN_DATA_UINT64 = 1,
    VRN_DATA_FP64 = 2,
    VRN_DATA_BIT64 = 3,
    VRN_DATA_INT64 = 4,
    VRN_DATA_STRING = 5,
    VRN_DATA_UINT128 = 6,
    VRN_DATA_INT128 = 7,
};

enum vrn_granularity_t : std::uint32_t {
    VRN_GRANULARITY_NODE = 0,
    VRN_GRANULARITY_CPU = 1,
    VRN_GRANULARITY_PACKAGE = 2,
};

enum vrn_counting_type_t : std::uint32_t {
    VRN_COUNTING_ABSOLUTE = 0,
    VRN_COUNTING_RUNNING_SUM = 1,
    VRN_COUNTING_DELTA = 2,
};

extern const vrn_name_value_t vrn_counter_data_type_names[];
extern const vrn_name_value_t vrn_granularity_names[];
extern const vrn_name_value_t vrn_counting_type_names[];
extern const vrn_name_value_t vrn_string_format_names[];
extern const vrn_name_value_t vrn_counting_mode_names[];

// Counting mode of a field by its name; "ABSOLUTE_MONOTONIC" reads as "RUNNING_SUM", an unknown
// name as all ones.
std::uint32_t vrn_counting_mode_from_name(const char *name);
