#include "common/tool_main.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/shown_text.h"
#include "utils/c_ptr.h"

namespace vrn::tool {
namespace {

// A standard stream that the parent closed would be the next file that is opened, and messages
// would go into it. Writing to what stands in for it here fails.
void occupy_standard_streams() {
    for (int descriptor = 0; descriptor <= 2; ++descriptor)
        if (fcntl(descriptor, F_GETFD) == -1) static_cast<void>(open("/dev/null", O_RDONLY));
}

// False, after a line, when standard output didn't take everything.
bool flush_output(const char *program) {
    errno = 0;
    // A full disk shows only now, when the last of the output leaves the buffer.
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return true;
    const std::string cause = errno != 0 ? std::string(": ") + std::strerror(errno) : "";
    print_error(program, "can't write to standard output" + cause);
    return false;
}

int run_work(const CommandLine &line, int argc, char **argv,
             const std::function<int(const std::vector<std::string> &)> &work) {
    const ParsedLine parsed = parse_command_line(line, argc, argv);
    if (parsed.answer.empty()) return work(parsed.operands);
    std::fputs(parsed.answer.c_str(), stdout);
    return EXIT_SUCCESS;
}

// Log lines quote names from files, which must not reach the terminal as they are.
__attribute__((format(printf, 2, 3))) void log_shown(std::int32_t level, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    char *raw = nullptr;
    // glibc leaves the pointer undefined when it fails.
    if (vasprintf(&raw, format, arguments) < 0) raw = nullptr;
    va_end(arguments);
    const CString text(raw);
    if (text) vrn_log(static_cast<std::uint32_t>(level), "%s", shown_text(text.get()).c_str());
}

}  // namespace

int run_tool(const CommandLine &line, int argc, char **argv,
             const std::function<bool(const std::vector<std::string> &operands)> &work) {
    const auto status_of_work = [&](const std::vector<std::string> &operands) {
        return work(operands) ? EXIT_SUCCESS : EXIT_FAILURE;
    };
    return run_tool(line, argc, argv, EXIT_FAILURE, status_of_work);
}

int run_tool(const CommandLine &line, int argc, char **argv, int failed_status,
             const std::function<int(const std::vector<std::string> &operands)> &work) {
    occupy_standard_streams();
    int status = failed_status;
    try {
        status = run_work(line, argc, argv, work);
    } catch (const UsageError &error) {
        print_error(line.program, error.what());
        std::fprintf(stderr, "Try '%s --help'.\n", line.program);
        return usage_status;
    } catch (const std::exception &error) {
        print_error(line.program, error.what());
    }
    // Output is flushed also after a failure: what there is of it may be of use.
    return flush_output(line.program) ? status : failed_status;
}

void print_error(const char *program, std::string_view text) {
    std::fprintf(stderr, "%s: %s\n", program, shown_text(text).c_str());
}

void start_log(std::uint32_t level) {
    vrn_init_stderr_logger(level);
    vrn_log_register_callback(log_shown, level);
}

}  // namespace vrn::tool
