#include "child_run.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>

namespace vrn::bench {
namespace {

// Starts `command` with standard output on `output`.
pid_t start(const std::vector<std::string> &command, int output) {
    std::vector<char *> words;
    for (const std::string &word : command) words.push_back(const_cast<char *>(word.c_str()));
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("cannot fork");
    if (child == 0) {
        dup2(output, STDOUT_FILENO);
        execv(words[0], words.data());
        _exit(127);
    }
    return child;
}

double seconds_of(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

rusage finish(pid_t child, const std::vector<std::string> &command, int expected_status) {
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) < 0 || !WIFEXITED(status) ||
        WEXITSTATUS(status) != expected_status)
        throw std::runtime_error("failed: " + command[0]);
    return usage;
}

}  // namespace

ChildRun run_child(const std::vector<std::string> &command, int expected_status) {
    const int null_device = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = start(command, null_device);
    const rusage usage = finish(child, command, expected_status);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    close(null_device);
    const double cpu = seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime);
    return {taken.count(), cpu, static_cast<std::uint64_t>(usage.ru_maxrss) * 1024};
}

std::uint64_t count_output(const std::vector<std::string> &command) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("cannot make a pipe");
    const pid_t child = start(command, ends[1]);
    close(ends[1]);
    std::array<char, 65536> buffer;
    std::uint64_t total = 0;
    for (ssize_t count = 0; (count = read(ends[0], buffer.data(), buffer.size())) > 0;)
        total += static_cast<std::uint64_t>(count);
    close(ends[0]);
    finish(child, command, 0);
    return total;
}

}  // namespace vrn::bench
