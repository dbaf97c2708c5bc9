// Ends a run when a signal asks for it.
#pragma once

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace vrn::exporter {

// Made before other threads, which must not take the signals. While it lives, SIGINT, SIGTERM and
// SIGHUP call `stop` once, from a thread of its own; a run that then doesn't end within most of a
// second ends with the process, status 128 + signal. Signals that the parent set to be ignored
// stay so.
class SignalWatch {
  public:
    explicit SignalWatch(std::function<void()> stop);
    ~SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

    // The signal that came; 0: none.
    int signal() const { return signal_; }

  private:
    void watch();

    std::function<void()> stop_;
    sigset_t signals_{};
    sigset_t mask_before_{};
    std::atomic<int> signal_ = 0;
    std::atomic<bool> is_over_ = false;
    std::thread thread_;
};

// From now on a write to a closed pipe or beyond the limit of file sizes fails; SIGPIPE and SIGXFSZ
// end nothing.
void let_writes_fail();

}  // namespace vrn::exporter
