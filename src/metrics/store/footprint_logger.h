// Shows the footprint of a store now and then.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <utility>

namespace vrn::metrics {

// May be run by several threads.
class FootprintLogger {
  public:
    FootprintLogger(std::function<void()> log, std::uint64_t period_ms)
        : log_(std::move(log)), period_ms_(period_ms) {}

    // Calls the function unless the last run, or the creation, is less than the period ago.
    void run() {
        const std::lock_guard guard(mutex_);
        const auto now = std::chrono::steady_clock::now();
        const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(now - last_run_);
        if (static_cast<std::uint64_t>(age.count()) < period_ms_) return;
        last_run_ = now;
        log_();
    }

  private:
    std::function<void()> log_;
    std::uint64_t period_ms_;
    std::chrono::steady_clock::time_point last_run_ = std::chrono::steady_clock::now();
    std::mutex mutex_;
};

}  // namespace vrn::metrics
