// Input: the bytes of a data page, header included. Its lines are made by a schema with nested,
// array and text fields and by counters of all granularities and types.
#include "data/serial/influx_fixtures.h"
#include "data/serial/influx_serializer.h"

namespace {

constexpr std::uint32_t types = VRN_DATA_INT128 + 2;  // and an unknown one
constexpr std::uint32_t formats = VRN_STRING_BINARY + 2;

vrn_type_system_ptr make_type_system() {
    using namespace vrn::test;
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const vrn_type_system_ptr system = make_type_system();
    const vrn::data::InfluxSerializer serializer;
    serializer.serialize_bytes({{"host", "h"}}, {data, size}, system.get());
    if (size < VRN_DATA_PAGE_HEADER_SIZE) return 0;
    const vrn::Bytes block(data + VRN_DATA_PAGE_HEADER_SIZE, size - VRN_DATA_PAGE_HEADER_SIZE);
    for (std::uint32_t i = 0; i < system->counters_schema->num_groups; ++i)
        serializer.group_lines({}, system->counters_schema->groups[i], block);
    return 0;
}
