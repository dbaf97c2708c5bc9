#include <algorithm>
#include <cstdint>

#include "counters/counter_data.h"
#include "counters/counter_row.h"
#include "counters/counter_value.h"
#include "data/guid_switch.h"
#include "data/json_write.h"
#include "data/schema/name_tables.h"
#include "data/value_format.h"

namespace {

GuidSwitch guid_switch;

vrn_json_value_ptr counter_set_to_json(const vrn_counter_group_t *group, const vrn::CounterRow &row,
                                       bool convert_guids) {
    vrn_json_value_ptr value(json_value_init_object());
    JSON_Object *object = json_value_get_object(value.get());
    for (std::uint32_t i = 0; object && i < group->num_counters; ++i) {
        const vrn_counter_info_t *counter = group->counters[i];
        const auto found = vrn_counter_value_read(counter, row, convert_guids);
        // A value that can't be set leaves its key out.
        if (found.text)
            json_object_set_string(object, counter->name, found.text);
        else
            json_object_set_number(object, counter->name, found.number);
    }
    return value;
}

const char *group_name(const vrn_counter_group_t *group) {
    if (group->name) return group->name;
    return group->provider_hooks ? group->provider_hooks->name : "unset";
}

vrn_json_value_ptr group_to_json(const vrn_counter_group_t *group, const vrn::CounterRow &row,
                                 bool convert_guids) {
    vrn_json_value_ptr value(json_value_init_object());
    JSON_Object *object = json_value_get_object(value.get());
    json_object_set_string(object, "granularity", vrn_counter_group_granularity_name(group));
    json_object_set_string(object, "name", group_name(group));
    JSON_Array *sets = vrn_json_add_array(object, "counter_sets");
    if (!sets) return nullptr;
    // All sets are made from the values at the row's start, deliberately: they are equal.
    for (std::uint32_t set = 0; set < group->num_counter_sets; ++set)
        if (!vrn_json_append(sets, counter_set_to_json(group, row, convert_guids))) return nullptr;
    return value;
}

std::uint64_t bytes_of(const vrn_counter_info_t *counter) {
    switch (counter->data_type) {
        case VRN_DATA_STRING:
            return counter->length;
        case VRN_DATA_UINT128:
        case VRN_DATA_INT128:
            return 16;
        default:
            return 8;
    }
}

}  // namespace

JSON_Value *vrn_counters_row_to_json(std::uint64_t timestamp, vrn::Bytes values,
                                     const vrn_counters_schema_t *schema, bool microseconds) {
    const bool convert_guids = guid_switch.is_on();
    const vrn::CounterRow row(values);
    vrn_json_value_ptr value(json_value_init_object());
    JSON_Object *object = json_value_get_object(value.get());
    json_object_set_number(object, "timestamp", static_cast<double>(timestamp));
    const vrn::CString time(vrn_format_timestamp(timestamp, microseconds));
    if (time) json_object_set_string(object, "@timestamp", time.get());
    JSON_Array *groups = vrn_json_add_array(object, "groups");
    if (!groups) return nullptr;
    for (std::uint32_t i = 0; i < schema->num_groups; ++i)
        if (!vrn_json_append(groups, group_to_json(schema->groups[i], row, convert_guids)))
            return nullptr;
    return value.release();
}

std::uint64_t vrn_counters_schema_row_reach(const vrn_counters_schema_t *schema) {
    std::uint64_t reach = schema->size;
    for (std::uint32_t i = 0; i < schema->num_groups; ++i) {
        const vrn_counter_group_t *group = schema->groups[i];
        for (std::uint32_t j = 0; j < group->num_counters; ++j)
            reach = std::max(reach, group->counters[j]->offset + bytes_of(group->counters[j]));
    }
    return reach;
}

JSON_Value *vrn_counters_block_to_json(const vrn_data_block_t *block,
                                       const vrn_counters_schema_t *schema, bool microseconds) {
    const auto *values = reinterpret_cast<const std::uint8_t *>(block) + sizeof *block;
    return vrn_counters_row_to_json(
        block->timestamp, {values, vrn_counters_schema_row_reach(schema)}, schema, microseconds);
}
