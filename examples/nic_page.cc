#include "nic_page.h"

#include <cstring>
#include <string_view>

#include <vrn/data/block.h>
#include <vrn/data/selection/name_tables.h>
#include "fan_page.h"

namespace {

// The name of an adapter, and of one of its ports, assigns a counter to it.
constexpr const char *names[] = {
    "load average, scaled", "nic5_0:1:rx bytes", "nic5_0:1:rx, dropped", "nic5_0:temperature",
    "nic6_0:1:rx bytes",    "nic6_0:2:rx bytes", "nic6_0:cable length",
};
constexpr std::size_t num_counters = sizeof names / sizeof *names;

#pragma pack(push, 1)
struct NicBlock {
    vrn_data_block_t header;
    std::uint64_t values[num_counters];
};
#pragma pack(pop)

// Fields have no terminator; `digits` go to all GUIDs, the last one to tell ports apart.
vrn_hca_info_t make_adapter(std::string_view name, std::string_view digits) {
    vrn_hca_info_t adapter{};
    name.copy(adapter.hca_name, sizeof adapter.hca_name);
    digits.copy(adapter.node_guid, sizeof adapter.node_guid);
    digits.copy(adapter.system_image_guid, sizeof adapter.system_image_guid);
    digits.copy(adapter.port_1_guid, sizeof adapter.port_1_guid);
    adapter.port_1_guid[digits.size() - 1] = '1';
    return adapter;
}

}  // namespace

bool add_nic_schema(vrn_type_system_t *types) {
    vrn_counter_info_t counters[num_counters]{};
    for (std::size_t i = 0; i < num_counters; ++i) {
        vrn_counter_info_t &counter = counters[i];
        counter.id = static_cast<std::uint32_t>(i);
        // The record's texts are not const; the schema copies them.
        counter.name = const_cast<char *>(names[i]);
        counter.description = counter.units = const_cast<char *>("");
        counter.data_type = VRN_DATA_UINT64;
        counter.counting_type = VRN_COUNTING_RUNNING_SUM;
        counter.length = sizeof(std::uint64_t);
    }
    if (!vrn_counters_schema_add_counters(types->counters_schema, counters, num_counters, "nics"))
        return false;
    vrn_counters_schema_update_counter_offsets(types->counters_schema);
    return true;
}

void put_adapters(vrn_data_page_t *page) {
    page->hca_info[0] = make_adapter("nic5_0", "a088c20300e3f5a0");
    page->hca_info[1] = make_adapter("nic6_0", "a088c20300e3f6b0");
    vrn_hca_info_t &second = page->hca_info[1];
    std::memcpy(second.port_2_guid, second.port_1_guid, sizeof second.port_2_guid);
    second.port_2_guid[sizeof second.port_2_guid - 1] = '2';
}

void put_nic_counters(vrn_data_page_t *page, std::uint64_t timestamp, std::uint64_t round) {
    NicBlock block{};
    vrn_data_block_init(&block.header);
    block.header.timestamp = timestamp;
    for (std::size_t i = 0; i < num_counters; ++i) block.values[i] = 1000 * i + round;
    put_bytes(page, &block, sizeof block);
    page->last_ts = timestamp;
}
