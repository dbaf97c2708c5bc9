#include "vrn_collect/proc_sample.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "data/time.h"

namespace vrn::collect {
namespace {

constexpr std::uint64_t kilobyte = 1024;

std::vector<CpuSample> read_cpus() {
    std::vector<CpuSample> cpus;
    std::ifstream file("/proc/stat");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string label;
        words >> label;
        // The line "cpu" is the sum of the others.
        if (!label.starts_with("cpu") || label == "cpu") continue;
        CpuSample sample{};
        sample.cpu = static_cast<std::uint16_t>(std::stoul(label.substr(3)));
        CpuTimes &times = sample.times;
        words >> times.user >> times.nice >> times.system >> times.idle >> times.iowait >>
            times.irq >> times.softirq >> times.steal;
        cpus.push_back(sample);
    }
    return cpus;
}

MemorySample read_memory() {
    std::map<std::string, std::uint64_t> bytes;
    std::ifstream file("/proc/meminfo");
    std::string unit;
    std::uint64_t value = 0;
    for (std::string name; file >> name >> value && std::getline(file, unit);)
        // The kernel says "kB" and counts 1024.
        bytes[name] = value * kilobyte;
    return {bytes["MemTotal:"], bytes["MemFree:"], bytes["MemAvailable:"],
            bytes["Buffers:"],  bytes["Cached:"],  bytes["SwapFree:"]};
}

std::array<std::uint8_t, 6> read_mac(const std::string &interface) {
    // Zeros for an interface without an address, such as a tunnel.
    std::array<std::uint8_t, 6> mac{};
    std::ifstream file("/sys/class/net/" + interface + "/address");
    std::string text;
    file >> text;
    std::istringstream parts(text);
    std::string part;
    for (std::uint8_t &byte : mac)
        if (std::getline(parts, part, ':'))
            byte = static_cast<std::uint8_t>(std::strtoul(part.c_str(), nullptr, 16));
    return mac;
}

std::vector<InterfaceSample> read_interfaces() {
    std::vector<InterfaceSample> interfaces;
    std::ifstream file("/proc/net/dev");
    for (std::string line; std::getline(file, line);) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) continue;  // the two heading lines
        InterfaceSample sample{};
        std::istringstream(line.substr(0, colon)) >> sample.name;
        std::istringstream words(line.substr(colon + 1));
        std::uint64_t skipped = 0;
        words >> sample.rx_bytes >> sample.rx_packets >> sample.rx_errors;
        // drop, fifo, frame, compressed and multicast stand between.
        for (int i = 0; i < 5; ++i) words >> skipped;
        words >> sample.tx_bytes >> sample.tx_packets >> sample.tx_errors;
        sample.mac = read_mac(sample.name);
        interfaces.push_back(sample);
    }
    return interfaces;
}

std::vector<DiskSample> read_disks() {
    std::vector<DiskSample> disks;
    std::ifstream file("/proc/diskstats");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string major, minor;
        std::uint64_t skipped = 0;
        DiskSample sample{};
        words >> major >> minor >> sample.name >> sample.reads >> skipped >> sample.read_sectors >>
            skipped >> sample.writes >> skipped >> sample.written_sectors;
        // Partitions have no folder of their own there; with them, sums would count twice.
        const bool is_whole = std::filesystem::exists("/sys/block/" + sample.name);
        if (is_whole && sample.reads + sample.writes > 0) disks.push_back(sample);
    }
    return disks;
}

void read_load(ProcSample *sample) {
    std::ifstream file("/proc/loadavg");
    char slash = 0;
    file >> sample->load[0] >> sample->load[1] >> sample->load[2] >> sample->running >> slash >>
        sample->processes;
}

}  // namespace

ProcSample read_proc_sample() {
    ProcSample sample{};
    // One time for all of it: the files are read within a few milliseconds.
    sample.timestamp = vrn_time_now();
    sample.cpus = read_cpus();
    sample.memory = read_memory();
    sample.interfaces = read_interfaces();
    sample.disks = read_disks();
    read_load(&sample);
    return sample;
}

}  // namespace vrn::collect
