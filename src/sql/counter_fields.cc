#include "sql/counter_fields.h"

#include <cstddef>
#include <map>

#include "counters/counter_value.h"
#include "counters/counters_row_walk.h"
#include "data/block.h"
#include "data/selection/name_tables.h"

namespace vrn::sql {
namespace {

Kind kind_of(const vrn_counter_info_t &counter) {
    switch (counter.data_type) {
        case VRN_DATA_UINT64:
        case VRN_DATA_BIT64:
            return Kind::uint64;
        case VRN_DATA_FP64:
            return Kind::float64;
        case VRN_DATA_UINT128:
            return Kind::uint128;
        case VRN_DATA_INT128:
            return Kind::int128;
        case VRN_DATA_STRING:
            return Kind::text;
        default:
            return Kind::int64;
    }
}

template <typename Visit>
void visit_counters(const vrn_counters_schema_t &schema, Visit visit) {
    for (std::uint32_t i = 0; i < schema.num_groups; ++i)
        for (std::uint32_t j = 0; j < schema.groups[i]->num_counters; ++j)
            // A counter without a name can't be asked for.
            if (schema.groups[i]->counters[j]->name)
                visit(*schema.groups[i], *schema.groups[i]->counters[j]);
}

}  // namespace

std::vector<RecordField> counter_fields(const vrn_counters_schema_t &schema) {
    // Counted first: the first of several counters with a name gets its group's name, too.
    std::map<std::string_view, int, NameOrder> uses;
    visit_counters(schema, [&](const vrn_counter_group_t &, const vrn_counter_info_t &counter) {
        ++uses[counter.name];
    });
    // `time` is taken before any counter, which may have that name and gets a number then.
    NewNames names;
    std::vector<RecordField> fields = {
        {names.add("time"), Kind::timestamp, offsetof(vrn_data_block_t, timestamp), 0}};
    visit_counters(schema,
                   [&](const vrn_counter_group_t &group, const vrn_counter_info_t &counter) {
                       std::string name = counter.name;
                       if (uses[name] > 1)
                           name.insert(0, std::string(counter_group_name(group)) + ".");
                       fields.push_back({names.add(name), kind_of(counter),
                                         sizeof(vrn_data_block_t) + std::uint64_t{counter.offset},
                                         counter_size(counter)});
                   });
    return fields;
}

}  // namespace vrn::sql
