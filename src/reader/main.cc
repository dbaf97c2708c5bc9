// vrn_read: exports binary telemetry as text.
#include <parson.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "reader/options_parse.h"
#include "reader/reader.h"
#include "utils/env.h"
#include "utils/log.h"

namespace {

void set_locale() {
    if (vrn_env_value_is_true(vrn_getenv("VRN_DONT_SET_LOCALE"))) return;
    if (!std::setlocale(LC_ALL, "C")) VRN_LOG(VRN_LOG_ERROR, "Unable to set locale '%s'", "C");
}

// A zone that there is no memory for would be taken for UTC, without a word.
bool load_time_zone() {
    errno = 0;
    tzset();
    return errno != ENOMEM;
}

// The reader of a pipe may leave at any time: the run then ends at once, also where the parent
// ignores the signal.
void end_with_the_pipe() {
    std::signal(SIGPIPE, SIG_DFL);
}

// One large buffer for pipes and files; a terminal stays line by line.
void buffer_output() {
    static char buffer[1 << 15];
    if (!isatty(STDOUT_FILENO)) std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
}

}  // namespace

int main(int argc, char **argv) {
    set_locale();
    end_with_the_pipe();
    buffer_output();
    if (!load_time_zone()) {
        std::fprintf(stderr, "Failed to load the time zone: %s\n", std::strerror(errno));
        return EXIT_FAILURE;
    }
    vrn_reader_options_t options{};
    if (!vrn_reader_options_parse(&options, argc, argv)) {
        static_cast<void>(vrn_reader_print_usage());  // the run fails as it is
        vrn_reader_options_clear(&options);
        return EXIT_FAILURE;
    }
    vrn_init_stderr_logger(options.verbosity);
    if (options.data_files->count == 0) std::fputs("No input files specified\n", stderr);
    vrn_string_array_print(VRN_LOG_DEBUG, options.data_files, "data file");
    json_set_escape_slashes(0);

    const std::int32_t failed = vrn_read_all_files(&options);
    if (failed > 0)
        std::fprintf(stderr, "Failed to read %d of %zu files\n", failed,
                     static_cast<std::size_t>(options.data_files->count));
    vrn_reader_options_clear(&options);
    return failed > 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
