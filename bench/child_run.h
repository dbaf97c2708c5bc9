// One timed run of a command.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vrn::bench {

struct ChildRun {
    double seconds;             // wall clock
    double cpu_seconds;         // in user and system mode
    std::uint64_t peak_memory;  // bytes resident
};

// Runs `command` with its output to the null device. Throws when it ends with another status.
ChildRun run_child(const std::vector<std::string> &command, int expected_status = 0);

// Bytes that `command` prints.
std::uint64_t count_output(const std::vector<std::string> &command);

}  // namespace vrn::bench
