// Work done in a forked process, which may end it at any point.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace vrn::test {

// Runs `body` in a child and returns its text.
std::string run_in_child(const std::function<std::string()> &body);

// Runs `body` in a child that is killed (SIGKILL) in front of call number `calls` (from 0) of those
// that touch files: open, write, close, truncate, make, name or remove. True when it came to its
// end before. Throws where processes can't be traced.
bool run_and_kill(const std::function<void()> &body, std::size_t calls);

}  // namespace vrn::test
