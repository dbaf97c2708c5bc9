#include "data/selection/name_tables.h"

#include <string_view>

// The capitalisation is that of the schema files and so part of a schema's id.
const vrn_name_value_t vrn_counter_data_type_names[] = {
    {VRN_DATA_UNDEFINED, "Undefined"}, {VRN_DATA_UINT64, "UINT64"}, {VRN_DATA_FP64, "FP64"},
    {VRN_DATA_BIT64, "BIT64"},         {VRN_DATA_INT64, "INT64"},   {VRN_DATA_STRING, "STRING"},
    {VRN_DATA_UINT128, "UINT128"},     {VRN_DATA_INT128, "INT128"}, {VRN_NAME_UNKNOWN, nullptr},
};

const vrn_name_value_t vrn_granularity_names[] = {
    {VRN_GRANULARITY_NODE, "NODE"},
    {VRN_GRANULARITY_CPU, "CPU"},
    {VRN_GRANULARITY_PACKAGE, "PACKAGE"},
    {VRN_NAME_UNKNOWN, nullptr},
};

const vrn_name_value_t vrn_counting_type_names[] = {
    {VRN_COUNTING_ABSOLUTE, "ABSOLUTE"},
    {VRN_COUNTING_RUNNING_SUM, "RUNNING_SUM"},
    {VRN_COUNTING_DELTA, "DELTA"},
    {VRN_NAME_UNKNOWN, nullptr},
};

const vrn_name_value_t vrn_string_format_names[] = {
    {VRN_STRING_DEFAULT, "DEFAULT"},         {VRN_STRING_DECIMAL, "DECIMAL"},
    {VRN_STRING_HEXADECIMAL, "HEXADECIMAL"}, {VRN_STRING_UUID, "UUID"},
    {VRN_STRING_BINARY, "BINARY"},           {VRN_NAME_UNKNOWN, nullptr},
};

// Rows equal those of the counting types; only the lookup here knows the alias.
const vrn_name_value_t vrn_counting_mode_names[] = {
    {VRN_COUNTING_ABSOLUTE, "ABSOLUTE"},
    {VRN_COUNTING_RUNNING_SUM, "RUNNING_SUM"},
    {VRN_COUNTING_DELTA, "DELTA"},
    {VRN_NAME_UNKNOWN, nullptr},
};

std::uint32_t vrn_counting_mode_from_name(const char *name) {
    if (std::string_view(name) == "ABSOLUTE_MONOTONIC") name = "RUNNING_SUM";
    return vrn_name_to_value(vrn_counting_mode_names, name);
}
