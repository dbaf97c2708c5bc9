#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "counters/counter_data.h"
#include "counters/counter_row.h"
#include "counters/counter_value.h"
#include "counters/counters_row_walk.h"
#include "data/selection/name_tables.h"
#include "data/text/guid_switch.h"
#include "data/text/json_write.h"
#include "data/text/value_format.h"

namespace {

GuidSwitch guid_switch;

// See counters_row_walk.h.
class TreeSink {
  public:
    TreeSink(JSON_Object *root, const vrn::CounterRow &row, bool microseconds)
        : object_(root), row_(row), microseconds_(microseconds) {}

    void time(std::uint64_t timestamp) {
        json_object_set_number(object_, "timestamp", static_cast<double>(timestamp));
        const vrn::CString time(vrn_format_timestamp(timestamp, microseconds_));
        if (time) text("@timestamp", time.get());
    }
    void text(const char *key, const char *value) { json_object_set_string(object_, key, value); }
    bool begin_array(const char *key) {
        arrays_.push_back(vrn_json_add_array(object_, key));
        return arrays_.back() != nullptr;
    }
    void end_array() { arrays_.pop_back(); }
    bool begin_group(std::size_t) { return begin_set(); }
    bool begin_set() {
        vrn_json_value_ptr value(json_value_init_object());
        object_ = json_value_get_object(value.get());
        return vrn_json_append(arrays_.back(), std::move(value));
    }
    void end_element() {}
    void counter(const vrn_counter_info_t &counter) {
        const auto found = vrn_counter_value_read(&counter, row_, vrn_counters_convert_guids());
        if (found.text)
            text(counter.name, found.text);
        else
            json_object_set_number(object_, counter.name, found.number);
    }

  private:
    JSON_Object *object_;  // the one being filled
    std::vector<JSON_Array *> arrays_;
    const vrn::CounterRow &row_;
    bool microseconds_;
};

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

bool vrn_counters_convert_guids() {
    return guid_switch.is_on();
}

JSON_Value *vrn_counters_row_to_json(std::uint64_t timestamp, vrn::Bytes values,
                                     const vrn_counters_schema_t *schema, bool microseconds) {
    const vrn::CounterRow row(values);
    vrn_json_value_ptr value(json_value_init_object());
    TreeSink sink(json_value_get_object(value.get()), row, microseconds);
    if (!vrn::walk_counters_row(timestamp, *schema, sink)) return nullptr;
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
