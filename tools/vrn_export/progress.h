// How far a run is, on a terminal.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

namespace vrn::exporter {

// One line on standard error that is drawn anew a few times a second, when something is noted.
// Silent where that is no terminal. For all threads.
class Progress {
  public:
    Progress(std::uint64_t num_files, std::uint64_t num_bytes);
    ~Progress() { clear(); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void note_bytes(std::uint64_t bytes);
    void note_file();
    // Before other lines go to standard error.
    void clear();

    struct State {
        std::uint64_t files, num_files;
        std::uint64_t bytes, num_bytes;
        double seconds;
    };
    static std::string text(const State &state);

  private:
    using Clock = std::chrono::steady_clock;

    void draw();

    bool is_shown_;
    std::uint64_t num_files_;
    std::uint64_t num_bytes_;
    Clock::time_point start_ = Clock::now();
    std::atomic<std::uint64_t> files_ = 0;
    std::atomic<std::uint64_t> bytes_ = 0;
    std::mutex mutex_;
    Clock::time_point next_ = start_;
    bool is_drawn_ = false;
};

}  // namespace vrn::exporter
