#include "data/time.h"

#include <ctime>

namespace {

// Microseconds, added modulo 2^64, so that a large value sets the clock back.
std::uint64_t time_offset = 0;

}  // namespace

std::uint64_t vrn_time_now() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    auto seconds = static_cast<std::uint64_t>(now.tv_sec);
    auto microseconds = static_cast<std::uint64_t>(now.tv_nsec) / 1000;
    // For clocks that hand out a whole second of nanoseconds.
    if (now.tv_nsec > 999999999) {
        seconds += 1;
        microseconds -= 1000000;
    }
    return seconds * 1000000 + microseconds + time_offset;
}

void vrn_set_time_offset(std::uint64_t offset) {
    time_offset = offset;
}

std::uint64_t vrn_get_time_offset() {
    return time_offset;
}
