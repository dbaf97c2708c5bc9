// Signals: those that end a run, and those that must not.
#pragma once

#include <chrono>

namespace vrn::collect {

// From now on SIGINT, SIGTERM and SIGHUP are told by wait_for_stop_signal. The second of a kind
// ends the process, which may hang in a file system. Those that the parent set to be ignored stay
// so.
void catch_stop_signals();

// From now on a write to a closed pipe or beyond the limit of file sizes fails; SIGPIPE and SIGXFSZ
// end nothing.
void let_writes_fail();

// Sleeps until `time`. True as soon as a signal has come, also before this call.
[[nodiscard]] bool wait_for_stop_signal(std::chrono::steady_clock::time_point time);

}  // namespace vrn::collect
