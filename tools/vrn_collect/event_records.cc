#include "vrn_collect/event_records.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <stdexcept>

#include "data/block.h"
#include "data/magic.h"
#include "data/schema/schema_registration.h"
#include "data/selection/name_tables.h"
#include "data/version.h"

namespace vrn::collect {
namespace {

// Rows as they lie in the file. Places in this list are the type indexes.
enum TypeIndex : std::uint16_t { CPU_TIMES, CPU_SAMPLE, INTERFACE_SAMPLE, LOAD_SAMPLE };

#pragma pack(push, 1)
struct CpuRow {
    std::uint64_t timestamp;
    std::uint16_t cpu;
    CpuTimes times;
};

struct InterfaceRow {
    std::uint64_t timestamp;
    char name[16];
    std::uint64_t port_guid;
    std::uint8_t mac[6];
    std::uint64_t rx_bytes, rx_packets, rx_errors, tx_bytes, tx_packets, tx_errors;
};

struct LoadRow {
    std::uint64_t timestamp;
    float load[3];
    std::uint32_t running, processes;
    double mem_used;
};
#pragma pack(pop)

struct Field {
    const char *name;
    const char *description;
    const char *type_name;
    std::uint16_t array_length = 1;
};

void add_type(vrn_schema_t *schema, const char *name, std::initializer_list<Field> fields,
              std::uint16_t expected_index, std::size_t expected_size) {
    std::vector<vrn_type_field_info_t> infos;
    for (const Field &field : fields) {
        vrn_type_field_info_t info{};
        info.name = field.name;
        info.description = field.description;
        info.type_name = field.type_name;
        info.counting_mode = VRN_COUNTING_ABSOLUTE;
        info.array_length = field.array_length;
        infos.push_back(info);
    }
    std::uint8_t index = 0;
    if (vrn_schema_add_type(schema, name, infos.data(), infos.size(), &index) != 0 ||
        // Rows are written by the structures above, so the schema must agree with them to the byte.
        index != expected_index || schema->types[index]->size != expected_size)
        throw std::runtime_error(std::string("cannot register event type ") + name);
}

template <typename Row>
std::string make_block(TypeIndex type, std::uint64_t timestamp, std::span<const Row> rows) {
    vrn_event_header_t header{};
    vrn_magic_set(header.magic, VRN_MAGIC_EVENTS);
    header.timestamp = timestamp;
    header.type_index = type;
    header.num_events = static_cast<std::uint8_t>(rows.size());
    std::string block(reinterpret_cast<const char *>(&header), sizeof header);
    block.append(reinterpret_cast<const char *>(rows.data()), rows.size_bytes());
    return block;
}

template <typename Row>
void append_blocks(std::vector<std::string> *blocks, TypeIndex type, std::uint64_t timestamp,
                   const std::vector<Row> &rows) {
    constexpr std::size_t max_rows = 255;  // the header counts rows in one byte
    for (std::span<const Row> rest = rows; !rest.empty();) {
        const auto part = rest.first(std::min(rest.size(), max_rows));
        blocks->push_back(make_block(type, timestamp, part));
        rest = rest.subspan(part.size());
    }
}

// A stable 64-bit id of a port: its hardware address, widened in the middle as EUI-64 does.
std::uint64_t guid_of(const std::array<std::uint8_t, 6> &mac) {
    std::uint64_t guid = 0;
    for (const std::uint8_t byte :
         {mac[0], mac[1], mac[2], std::uint8_t{0xFF}, std::uint8_t{0xFE}, mac[3], mac[4], mac[5]})
        guid = guid << 8 | byte;
    return guid;
}

std::vector<CpuRow> cpu_rows(const ProcSample &sample) {
    std::vector<CpuRow> rows;
    for (const CpuSample &cpu : sample.cpus) rows.push_back({sample.timestamp, cpu.cpu, cpu.times});
    return rows;
}

std::vector<InterfaceRow> interface_rows(const ProcSample &sample) {
    std::vector<InterfaceRow> rows;
    for (const InterfaceSample &interface : sample.interfaces) {
        InterfaceRow row{};
        row.timestamp = sample.timestamp;
        // A full name has no terminator.
        std::memcpy(row.name, interface.name.data(),
                    std::min(interface.name.size(), sizeof row.name));
        row.port_guid = guid_of(interface.mac);
        std::ranges::copy(interface.mac, row.mac);
        row.rx_bytes = interface.rx_bytes;
        row.rx_packets = interface.rx_packets;
        row.rx_errors = interface.rx_errors;
        row.tx_bytes = interface.tx_bytes;
        row.tx_packets = interface.tx_packets;
        row.tx_errors = interface.tx_errors;
        rows.push_back(row);
    }
    return rows;
}

LoadRow load_row(const ProcSample &sample) {
    const auto total = static_cast<double>(sample.memory.total);
    const auto available = static_cast<double>(sample.memory.available);
    // 0 where /proc/meminfo can't be read.
    const double used = total > 0 ? 1.0 - available / total : 0.0;
    return {sample.timestamp,
            {sample.load[0], sample.load[1], sample.load[2]},
            sample.running,
            sample.processes,
            used};
}

}  // namespace

const vrn_schema_t &add_event_schema(vrn_type_system_t *types) {
    vrn_schema_t *schema =
        vrn_type_system_add_new_schema(types, "vrn_collect", VRN_SCHEMA_VERSION, nullptr);
    if (!schema) throw std::runtime_error("cannot create the event schema");
    // Registered before the type that nests it.
    add_type(schema, "cpu_times",
             {{"user", "ticks in user mode", "uint64_t"},
              {"nice", "ticks in user mode with low priority", "uint64_t"},
              {"system", "ticks in kernel mode", "uint64_t"},
              {"idle", "idle ticks", "uint64_t"},
              {"iowait", "ticks waiting for disks", "uint64_t"},
              {"irq", "ticks in interrupts", "uint64_t"},
              {"softirq", "ticks in soft interrupts", "uint64_t"},
              {"steal", "ticks taken by the host", "uint64_t"}},
             CPU_TIMES, sizeof(CpuTimes));
    add_type(schema, "cpu_sample",
             {{"timestamp", "time of the sample", "timestamp"},
              {"cpu", "number of the CPU", "uint16_t"},
              {"times", "times since boot", "cpu_times"}},
             CPU_SAMPLE, sizeof(CpuRow));
    add_type(schema, "interface_sample",
             {{"timestamp", "time of the sample", "timestamp"},
              {"name", "name of the interface", "char", 16},
              {"port_guid", "id of the port", "uint64_t"},
              {"mac", "hardware address", "uint8_t", 6},
              {"rx_bytes", "bytes received", "uint64_t"},
              {"rx_packets", "packets received", "uint64_t"},
              {"rx_errors", "receive errors", "uint64_t"},
              {"tx_bytes", "bytes sent", "uint64_t"},
              {"tx_packets", "packets sent", "uint64_t"},
              {"tx_errors", "send errors", "uint64_t"}},
             INTERFACE_SAMPLE, sizeof(InterfaceRow));
    add_type(schema, "load_sample",
             {{"timestamp", "time of the sample", "timestamp"},
              {"load", "load over 1, 5 and 15 minutes", "float", 3},
              {"running", "tasks running", "uint32_t"},
              {"processes", "tasks in all", "uint32_t"},
              {"mem_used", "share of memory in use", "double"}},
             LOAD_SAMPLE, sizeof(LoadRow));
    return *schema;
}

std::vector<std::string> make_event_blocks(const ProcSample &sample) {
    std::vector<std::string> blocks;
    const std::uint64_t now = sample.timestamp;
    append_blocks(&blocks, LOAD_SAMPLE, now, std::vector{load_row(sample)});
    append_blocks(&blocks, CPU_SAMPLE, now, cpu_rows(sample));
    append_blocks(&blocks, INTERFACE_SAMPLE, now, interface_rows(sample));
    return blocks;
}

}  // namespace vrn::collect
