// What /proc says about this machine at one moment.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vrn::collect {

// Times in clock ticks since boot, in the order of /proc/stat.
struct CpuTimes {
    std::uint64_t user, nice, system, idle, iowait, irq, softirq, steal;
};

struct CpuSample {
    std::uint16_t cpu;
    CpuTimes times;
};

struct MemorySample {  // bytes
    std::uint64_t total, free, available, buffers, cached, swap_free;
};

struct InterfaceSample {
    std::string name;
    std::array<std::uint8_t, 6> mac;
    std::uint64_t rx_bytes, rx_packets, rx_errors, tx_bytes, tx_packets, tx_errors;
};

struct DiskSample {
    std::string name;
    std::uint64_t reads, read_sectors, writes, written_sectors;
};

struct ProcSample {
    std::uint64_t timestamp;
    std::vector<CpuSample> cpus;
    MemorySample memory;
    std::vector<InterfaceSample> interfaces;
    std::vector<DiskSample> disks;  // whole disks, without partitions
    std::array<float, 3> load;      // over 1, 5 and 15 minutes
    std::uint32_t running, processes;
};

// Files that are missing or odd leave their part empty.
ProcSample read_proc_sample();

}  // namespace vrn::collect
