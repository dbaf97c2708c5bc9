// Collects log lines while in scope, as "level text".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vrn::test {

class CapturedLog {
  public:
    explicit CapturedLog(std::uint32_t level = 6);
    ~CapturedLog();
    CapturedLog(const CapturedLog &) = delete;
    CapturedLog &operator=(const CapturedLog &) = delete;

    // Lines so far, e.g. "3 Failed to print"; taken, so that the next call starts anew.
    std::vector<std::string> take();
};

// Sets a variable, or unsets it with null, while in scope.
class ScopedEnv {
  public:
    ScopedEnv(const char *name, const char *value);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv &) = delete;
    ScopedEnv &operator=(const ScopedEnv &) = delete;

  private:
    std::string name_;
    std::optional<std::string> before_;
};

}  // namespace vrn::test
