// Types and counters that influx lines are made of.
#pragma once

#include "data/serial/influx_fixtures.h"

namespace vrn::fuzz {

// A schema with nested, array and text fields, and counters of all granularities and types.
inline vrn_type_system_ptr make_influx_types() {
    using namespace vrn::test;
    constexpr std::uint32_t types = VRN_DATA_INT128 + 2;  // and an unknown one
    constexpr std::uint32_t formats = VRN_STRING_BINARY + 2;
    vrn_type_system_ptr system(vrn_type_system_create());
    vrn_schema_t *schema = vrn_type_system_add_new_schema(system.get(), "p", 1, nullptr);
    add_type(schema, "in", {{"uint16_t", "x"}, {"char", "text", 3}, {"double", "d"}});
    add_type(schema, "out", {{"in", "one"}, {"in", "two", 2}, {"uint64_t", "none", 2}});
    add_type(schema, "nothing", {{"uint8_t", "none", 0}});
    vrn_counters_schema_t *counters = system->counters_schema;
    add_group(counters, VRN_GRANULARITY_NODE, 1, {"nic1:1:rx", "nic1:tx"});
    vrn_counter_group_t *all = add_group(counters, VRN_GRANULARITY_NODE, 1,
                                         std::vector<const char *>(types * formats, "value"));
    for (std::uint32_t i = 0; i < all->num_counters; ++i) {
        all->counters[i]->data_type = i % types;
        all->counters[i]->string_format = i / types;
        all->counters[i]->length = i % 3;
    }
    add_group(counters, VRN_GRANULARITY_PACKAGE, 2, {"p"});
    add_group(counters, VRN_GRANULARITY_CPU, 3, {"a", "b"});
    return system;
}

}  // namespace vrn::fuzz
