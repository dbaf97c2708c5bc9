// What one thread logs, taken by the owner of its work instead of the process log.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "utils/log.h"

namespace vrn {

struct LogLine {
    std::uint32_t level;
    std::string text;

    bool operator==(const LogLine &) const = default;
};

// While it lives, keeps the messages of its thread that the log's level lets through. Ends in the
// thread that began it; captures of one thread nest.
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    // Lines so far; taken, so that the next call starts anew.
    std::vector<LogLine> take();

  private:
    static void keep(std::int32_t level, const char *format, ...)
        __attribute__((format(printf, 2, 3)));

    std::vector<LogLine> lines_;
    LogCapture *outer_;
    vrn_log_callback_t taker_before_;
};

// Logs lines that were taken.
void log_again(const std::vector<LogLine> &lines);

}  // namespace vrn
