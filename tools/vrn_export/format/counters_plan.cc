#include "vrn_export/format/counters_plan.h"

#include <string_view>
#include <unordered_map>

#include "counters/counter_value.h"
#include "counters/counters_row_walk.h"
#include "data/selection/name_tables.h"
#include "data/text/string_format.h"

namespace vrn::exporter {
namespace {

bool is_bit_format(std::uint32_t format) {
    return format == VRN_STRING_HEXADECIMAL || format == VRN_STRING_BINARY;
}

// Formats that make no sense for a type leave a number.
ValueForm number_form(std::uint32_t data_type) {
    switch (data_type) {
        case VRN_DATA_UINT64:
        case VRN_DATA_BIT64:
            return ValueForm::unsigned_integer;
        case VRN_DATA_FP64:
            return ValueForm::float64;
        case VRN_DATA_UINT128:
            return ValueForm::unsigned128;
        case VRN_DATA_INT128:
            return ValueForm::signed128;
        case VRN_DATA_STRING:
            return ValueForm::text;
        default:
            return ValueForm::signed_integer;
    }
}

bool is_wide(std::uint32_t data_type) {
    return data_type == VRN_DATA_UINT128 || data_type == VRN_DATA_INT128;
}

RowValue value_of(const vrn_counter_info_t &counter, std::uint64_t row_size) {
    RowValue value{.size = counter.length, .offset = counter.offset};
    const std::uint64_t size = counter_size(counter);
    // Stays missing: what a schema claims of its row isn't trusted.
    if (counter.offset > row_size || size > row_size - counter.offset) return value;
    const CounterJsonForm form = counter_json_form(counter, counters_convert_guids());
    value.form = number_form(counter.data_type);
    value.format = form.format;
    // What is named so and has another width keeps its own value.
    if (form.kind == CounterJsonForm::guid && size == sizeof(std::uint64_t)) {
        value.form = ValueForm::bits64;
        value.format = VRN_STRING_HEXADECIMAL;
    } else if (is_wide(counter.data_type)) {
        if (is_bit_format(form.format) || form.format == VRN_STRING_UUID)
            value.form = ValueForm::bits128;
    } else if (form.kind == CounterJsonForm::text && value.form != ValueForm::text &&
               is_bit_format(form.format) && counter.data_type <= VRN_DATA_INT64 &&
               counter.data_type != VRN_DATA_UNDEFINED) {
        value.form = ValueForm::bits64;
    }
    return value;
}

GroupPlan make_plan(const vrn_counter_group_t &group, std::uint64_t row_size,
                    const RecordSelection &selection) {
    const char *name = counter_group_name(group);
    GroupPlan plan{.name = name ? name : "", .counters = {}};
    std::unordered_map<std::string_view, std::size_t> places;
    for (std::uint32_t i = 0; i < group.num_counters; ++i) {
        const vrn_counter_info_t &counter = *group.counters[i];
        if (!counter.name || !selection.takes_counter(plan.name, counter.name)) continue;
        PlannedCounter planned{counter.name, value_of(counter, row_size), &counter};
        const auto [place, is_new] = places.try_emplace(counter.name, plan.counters.size());
        if (is_new)
            plan.counters.push_back(std::move(planned));
        else
            // The last of one name gives the value, at the place of the first.
            plan.counters[place->second] = std::move(planned);
    }
    return plan;
}

}  // namespace

std::vector<GroupPlan> make_group_plans(const vrn_counters_schema_t &schema,
                                        const RecordSelection &selection) {
    std::vector<GroupPlan> plans;
    for (std::uint32_t i = 0; selection.takes_counters() && i < schema.num_groups; ++i) {
        GroupPlan plan = make_plan(*schema.groups[i], schema.size, selection);
        if (!plan.counters.empty()) plans.push_back(std::move(plan));
    }
    return plans;
}

}  // namespace vrn::exporter
