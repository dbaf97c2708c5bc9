// page_to_influx: prints the events of a page as whole Influx lines.
#include <cstdio>
#include <cstdlib>

#include "data/influx_serializer.h"
#include "fan_page.h"

int main() {
    const vrn_type_system_ptr types(vrn_type_system_create());
    const vrn_page_memory_t memory = {VRN_PAGE_MEMORY_REGULAR, 0, "fans"};
    const vrn_data_page_ptr page(
        vrn_data_page_allocate(chunk_size, VRN_DATA_PAGE_HEADER_SIZE + chunk_size, memory));
    if (!types || !page || !add_fan_schema(types.get())) return EXIT_FAILURE;
    const std::uint64_t start = 1'700'000'000'000'000;
    for (std::uint32_t i = 0; i < 50; ++i)
        put_fan(page.get(), start + i * 1'000'000, {"cpu", 1200 + i, 0.25 * i});

    const vrn::data::InfluxSerializer serializer;
    const vrn::data::Tags tags = {{"host", "node7"}, {"room", "hall 2, left"}};
    for (const std::string &line : serializer.serialize(tags, page.get(), types.get()))
        std::puts(line.c_str());
}
