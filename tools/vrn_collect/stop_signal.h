// Signals that end a run.
#pragma once

#include <chrono>

namespace vrn::collect {

// From now on SIGINT, SIGTERM and SIGHUP are told by wait_for_stop_signal. The second of a kind
// ends the process, which may hang in a file system. Those that the parent set to be ignored stay
// so. SIGPIPE and SIGXFSZ end nothing: the write that caused them fails.
void catch_stop_signals();

// Sleeps until `time`. True as soon as a signal has come, also before this call.
bool wait_for_stop_signal(std::chrono::steady_clock::time_point time);

}  // namespace vrn::collect
