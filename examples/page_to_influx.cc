// page_to_influx: prints the events and counters of two pages as whole Influx lines.
#include <cstdio>
#include <cstdlib>

#include <vrn/data/serial/influx_serializer.h>
#include "fan_page.h"
#include "nic_page.h"

namespace {

constexpr std::uint64_t start = 1'700'000'000'000'000;
constexpr std::uint64_t second = 1'000'000;

vrn_data_page_ptr make_page(const char *name) {
    vrn_page_memory_t memory = {VRN_PAGE_MEMORY_REGULAR, 0, ""};
    std::snprintf(memory.name, sizeof memory.name, "%s", name);
    return vrn_data_page_ptr(
        vrn_data_page_allocate(chunk_size, VRN_DATA_PAGE_HEADER_SIZE + chunk_size, memory));
}

void print_lines(const vrn_data_page_ptr &page, const vrn_type_system_ptr &types) {
    const vrn::data::InfluxSerializer serializer;
    const vrn::data::Tags tags = {{"host", "node7"}, {"room", "hall 2, left"}};
    for (const std::string &line : serializer.serialize(tags, page.get(), types.get()))
        std::puts(line.c_str());
}

}  // namespace

int main() {
    const vrn_type_system_ptr types(vrn_type_system_create());
    const vrn_data_page_ptr fans = make_page("fans");
    const vrn_data_page_ptr nics = make_page("nics");
    if (!types || !fans || !nics || !add_fan_schema(types.get()) || !add_nic_schema(types.get()))
        return EXIT_FAILURE;
    put_adapters(nics.get());
    for (std::uint32_t i = 0; i < 50; ++i) {
        put_fan(fans.get(), start + i * second, {"cpu", 1200 + i, 0.25 * i});
        put_nic_counters(nics.get(), start + i * second, i);
    }
    print_lines(fans, types);
    print_lines(nics, types);
}
