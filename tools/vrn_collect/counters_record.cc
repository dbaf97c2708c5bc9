#include "vrn_collect/counters_record.h"

#include <cstring>
#include <map>
#include <stdexcept>

#include "data/block.h"
#include "data/selection/name_tables.h"

namespace vrn::collect {
namespace {

struct Counter {
    std::string name;
    std::string description;
    const char *units;
    vrn_counting_type_t counting;
    std::uint64_t value;
};

// The one walk over a sample that schema and rows share.
std::vector<Counter> list_counters(const ProcSample &sample) {
    std::vector<Counter> counters;
    const auto add = [&](const std::string &name, const char *description, const char *units,
                         vrn_counting_type_t counting, std::uint64_t value) {
        counters.push_back({name, description, units, counting, value});
    };
    for (const CpuSample &cpu : sample.cpus) {
        const std::string prefix = "cpu" + std::to_string(cpu.cpu) + "_";
        constexpr auto sum = VRN_COUNTING_RUNNING_SUM;
        add(prefix + "user", "time in user mode", "ticks", sum, cpu.times.user);
        add(prefix + "system", "time in kernel mode", "ticks", sum, cpu.times.system);
        add(prefix + "idle", "idle time", "ticks", sum, cpu.times.idle);
        add(prefix + "iowait", "time waiting for disks", "ticks", sum, cpu.times.iowait);
    }
    constexpr auto absolute = VRN_COUNTING_ABSOLUTE;
    add("mem_total", "usable memory", "bytes", absolute, sample.memory.total);
    add("mem_free", "unused memory", "bytes", absolute, sample.memory.free);
    add("mem_available", "memory for new work", "bytes", absolute, sample.memory.available);
    add("mem_cached", "page cache", "bytes", absolute, sample.memory.cached);
    for (const InterfaceSample &interface : sample.interfaces) {
        constexpr auto sum = VRN_COUNTING_RUNNING_SUM;
        const std::string &prefix = interface.name;
        add(prefix + "_rx_bytes", "bytes received", "bytes", sum, interface.rx_bytes);
        add(prefix + "_rx_packets", "packets received", "packets", sum, interface.rx_packets);
        add(prefix + "_tx_bytes", "bytes sent", "bytes", sum, interface.tx_bytes);
        add(prefix + "_tx_packets", "packets sent", "packets", sum, interface.tx_packets);
    }
    for (const DiskSample &disk : sample.disks) {
        constexpr auto sum = VRN_COUNTING_RUNNING_SUM;
        add(disk.name + "_reads", "reads completed", "reads", sum, disk.reads);
        add(disk.name + "_writes", "writes completed", "writes", sum, disk.writes);
    }
    return counters;
}

vrn_counter_info_t to_counter_info(Counter &counter, std::uint32_t id) {
    vrn_counter_info_t info{};
    info.id = id;
    info.name = counter.name.data();
    info.description = counter.description.data();
    // The record's texts are not const; the schema copies them.
    info.units = const_cast<char *>(counter.units);
    info.data_type = VRN_DATA_UINT64;
    info.counting_type = counter.counting;
    info.length = sizeof(std::uint64_t);
    return info;
}

}  // namespace

vrn_counters_schema_ptr make_counters_schema(const ProcSample &sample) {
    vrn_counters_schema_ptr schema(vrn_counters_schema_create());
    std::vector<Counter> counters = list_counters(sample);
    std::vector<vrn_counter_info_t> infos;
    infos.reserve(counters.size());
    for (Counter &counter : counters)
        infos.push_back(to_counter_info(counter, static_cast<std::uint32_t>(infos.size())));
    if (!schema ||
        !vrn_counters_schema_add_counters(schema.get(), infos.data(), infos.size(), "system"))
        throw std::runtime_error("cannot build the counters schema");
    // Only now, when all counters and so all offsets are known.
    vrn_counters_schema_update_counter_offsets(schema.get());
    return schema;
}

std::string make_counters_block(const ProcSample &sample, const vrn_counters_schema_t &schema) {
    std::map<std::string, std::uint64_t> values;
    // By name: devices may have come and gone since the schema was made.
    for (const Counter &counter : list_counters(sample)) values[counter.name] = counter.value;

    vrn_data_block_t header{};
    vrn_data_block_init(&header);
    header.timestamp = sample.timestamp;
    std::string block(sizeof header + schema.size, '\0');
    std::memcpy(block.data(), &header, sizeof header);
    for (std::uint32_t g = 0; g < schema.num_groups; ++g) {
        const vrn_counter_group_t &group = *schema.groups[g];
        for (std::uint32_t c = 0; c < group.num_counters; ++c) {
            const vrn_counter_info_t &counter = *group.counters[c];
            // A device that went away leaves zeros; one that came is not shown.
            std::memcpy(block.data() + sizeof header + counter.offset, &values[counter.name],
                        sizeof(std::uint64_t));
        }
    }
    return block;
}

}  // namespace vrn::collect
