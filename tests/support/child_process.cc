#include "support/child_process.h"

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <stdexcept>

namespace vrn::test {
namespace {

bool touches_files(std::uint64_t number) {
    static constexpr std::array calls = {SYS_openat,   SYS_write,     SYS_pwrite64, SYS_flock,
                                         SYS_close,    SYS_ftruncate,
#ifdef SYS_open
                                         SYS_open,     SYS_mkdir,     SYS_unlink,   SYS_renameat,
#endif
                                         SYS_unlinkat, SYS_mkdirat,   SYS_linkat};
    return std::ranges::any_of(calls, [&](long call) { return number == std::uint64_t(call); });
}

// Lets the stopped child go on to its next stop. False when it ended.
bool resume(pid_t child) {
    int status = 0;
    if (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0) return false;
    return waitpid(child, &status, 0) == child && WIFSTOPPED(status);
}

bool is_at_file_call(pid_t child) {
    __ptrace_syscall_info info;
    if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0) return false;
    return info.op == PTRACE_SYSCALL_INFO_ENTRY && touches_files(info.entry.nr);
}

[[noreturn]] void run_traced(const std::function<void()> &body) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(1);
    raise(SIGSTOP);
    body();
    _exit(0);
}

}  // namespace

std::string run_in_child(const std::function<std::string()> &body) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        const std::string text = body();
        if (write(ends[1], text.data(), text.size()) < 0) _exit(1);
        _exit(0);
    }
    close(ends[1]);
    std::string text;
    std::array<char, 4096> buffer;
    for (ssize_t count; (count = read(ends[0], buffer.data(), buffer.size())) > 0;)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0 ? text : text + " (child failed)";
}

bool run_and_kill(const std::function<void()> &body, std::size_t calls) {
    const pid_t child = fork();
    if (child == 0) run_traced(body);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status) ||
        ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD) != 0)
        throw std::runtime_error("no process can be traced");
    std::size_t seen = 0;
    while (resume(child)) {
        if (!is_at_file_call(child) || seen++ != calls) continue;
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        return false;
    }
    return true;
}

}  // namespace vrn::test
