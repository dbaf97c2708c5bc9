// What all tools do around their work.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "common/command_line.h"
#include "utils/log.h"

namespace vrn::tool {

inline constexpr int usage_status = 64;  // wrong usage; nothing was done

// Runs `work` with the operands of the command line, or prints the help or the version. Returns the
// exit status: 0, 1 when `work` returns false or throws or standard output can't take what was
// printed, and usage_status after a UsageError, also of `work`. What is thrown is told in a line.
int run_tool(const CommandLine &line, int argc, char **argv,
             const std::function<bool(const std::vector<std::string> &operands)> &work);

// For a tool whose work returns the exit status; `failed_status` stands for 1.
int run_tool(const CommandLine &line, int argc, char **argv, int failed_status,
             const std::function<int(const std::vector<std::string> &operands)> &work);

// Writes "PROGRAM: text" to standard error as shown_text has it.
void print_error(const char *program, std::string_view text);

// Starts the log on standard error at `level`, with its lines as shown_text has them.
void start_log(std::uint32_t level);

// Keeps the log silent while in scope, where the tool tells the failure in words of its own.
class QuietLog {
  public:
    QuietLog() : level_(vrn_log_set_level(0)) {}
    ~QuietLog() { vrn_log_set_level(level_); }
    QuietLog(const QuietLog &) = delete;
    QuietLog &operator=(const QuietLog &) = delete;

  private:
    std::uint32_t level_;
};

}  // namespace vrn::tool
