// The system's clock: microseconds since the epoch plus a process-wide offset.
#pragma once

#include <cstdint>

// Realtime clock in microseconds, plus the offset.
std::uint64_t vrn_time_now();

// The offset is 0 until set, in microseconds.
void vrn_set_time_offset(std::uint64_t offset);
std::uint64_t vrn_get_time_offset();
