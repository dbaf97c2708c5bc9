// Input: the bytes of a data page, header included, of which all lines are made.
#include "data/serial/influx_serializer.h"
#include "influx_types.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const vrn_type_system_ptr system = vrn::fuzz::make_influx_types();
    const vrn::data::InfluxSerializer serializer;
    serializer.serialize_bytes({{"host", "h"}}, {data, size}, system.get());
    if (size < VRN_DATA_PAGE_HEADER_SIZE) return 0;
    const vrn::Bytes block(data + VRN_DATA_PAGE_HEADER_SIZE, size - VRN_DATA_PAGE_HEADER_SIZE);
    for (std::uint32_t i = 0; i < system->counters_schema->num_groups; ++i)
        serializer.group_lines({}, system->counters_schema->groups[i], block);
    return 0;
}
