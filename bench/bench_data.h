// Generated data files of a known shape, the same bytes on each machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vrn::bench {

struct BenchSizes {
    std::uint32_t event_rows = 1'000'000;  // 14 fields, 115 bytes each
    std::uint32_t counter_rows = 20'000;   // 200 counters each
};

// Blocks of 50 records with 8 samples each.
inline constexpr std::uint32_t metrics_blocks = 40'000;
inline constexpr std::uint32_t counters_per_row = 200;
inline constexpr std::uint32_t chunk_size = 65536;

#pragma pack(push, 1)
struct BenchRow {
    std::uint64_t timestamp;
    std::uint64_t node_guid;
    std::uint8_t port;
    std::uint16_t lid;
    char name[40];
    std::uint32_t state, speed;
    std::uint64_t rx_bytes, tx_bytes, rx_packets, tx_packets;
    std::uint32_t errors;
    float temperature;
    double utilization;
};
#pragma pack(pop)
static_assert(sizeof(BenchRow) == 115);

// Writes events.bin, counters.bin, metrics.bin and their schemas and metadata under `folder`.
// Throws on failure.
void write_bench_data(const std::string &folder, const BenchSizes &sizes);

// The header of `folder`/events.bin and a block of its first `rows` events.
std::string first_events(const std::string &folder, std::uint8_t rows);

// Writes `count` files of these bytes, a thousand in each folder under `to`.
void write_copies(const std::string &bytes, const std::string &to, std::size_t count);

}  // namespace vrn::bench
