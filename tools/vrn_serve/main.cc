// vrn_serve: a live chart page of the numbers in data files.
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "common/input_files.h"
#include "common/tool_main.h"
#include "series/name_selection.h"
#include "vrn_serve/access.h"
#include "vrn_serve/follower.h"
#include "vrn_serve/http_server.h"
#include "vrn_serve/live_store.h"
#include "vrn_serve/serve_options.h"
#include "vrn_serve/site.h"

namespace vrn::serve {
namespace {

// Nothing is written that could be lost: whatever still goes on then, the process ends.
constexpr std::chrono::milliseconds end_time{800};

// For this thread and those that it starts; wait_for_stop() takes them. Those that the parent set
// to be ignored stay so.
sigset_t hold_stop_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) continue;
        sigaddset(&signals, signal);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void wait_for_stop(const sigset_t &signals) {
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
    std::thread([] {
        std::this_thread::sleep_for(end_time);
        _exit(EXIT_SUCCESS);
    }).detach();
}

// The line that is printed must not go into a file that is served.
void check_output(const std::vector<std::string> &operands) {
    if (!tool::standard_output_is_file()) return;
    const tool::QuietLog quiet;  // the follower tells what can't be read
    std::vector<tool::InputFile> files;
    static_cast<void>(tool::find_input_files(operands, &files));
    tool::refuse_output_into_input(tool::InputIds(tool::ids_of(files)));
}

// It may come later, so that is no failure; but it may be a slip, and the page stays empty.
void tell_missing(const std::vector<std::string> &operands) {
    for (const std::string &path : operands)
        if (::access(path.c_str(), F_OK) != 0)
            VRN_LOG(VRN_LOG_WARNING, "%s: is not there yet: %s", path.c_str(),
                    std::strerror(errno));
}

// Whoever started us may wait for this line.
void print_address(const std::string &address) {
    std::printf("http://%s/rta/metrics/dump\n", address.c_str());
    if (std::fflush(stdout) == 0) return;
    std::clearerr(stdout);  // told here, and not again at the end
    throw std::runtime_error(std::string("can't write to standard output: ") +
                             std::strerror(errno));
}

bool run(const ServeOptions &options, const std::vector<std::string> &operands) {
    if (operands.empty()) throw tool::UsageError("no file or folder is given");
    SiteOptions site_options;
    site_options.access.host_names = options.host_names;
    if (!options.token_file.empty()) site_options.access.token = read_token(options.token_file);
    if (!options.shown_first.empty())
        site_options.shows_first = [names = series::NameSelection(options.shown_first)](
                                       const std::string &name) { return names.takes(name); };
    Listening listening = listen_to(options.listen);
    // Before any data is read: nobody is to serve it to a network by oversight.
    if (!listening.is_loopback && site_options.access.token.empty() && !options.is_open)
        throw tool::UsageError("others can reach " + listening.address +
                               ": --token-file or, for everyone, --open is needed");
    tool::start_log(options.log_level);
    check_output(operands);
    tell_missing(operands);
    // A client that goes away ends its answer, not the process.
    std::signal(SIGPIPE, SIG_IGN);
    // Before the first thread starts, as threads inherit the mask.
    const sigset_t stop_signals = hold_stop_signals();
    // Each uses those before it, and they end in reverse order.
    LiveStore store(options.limits, &options.series);
    Follower follower(operands, &options.series, &store);
    Site site(std::move(site_options), &store, [&follower] { return follower.state(); });
    const HttpServer server(std::move(listening.socket), {},
                            [&site](const Request &request) { return site.answer(request); });
    print_address(listening.address);
    wait_for_stop(stop_signals);
    return true;
}

}  // namespace
}  // namespace vrn::serve

int main(int argc, char **argv) {
    vrn::serve::ServeOptions options;
    return vrn::tool::run_tool(vrn::serve::make_command_line(&options), argc, argv,
                               [&](const std::vector<std::string> &operands) {
                                   return vrn::serve::run(options, operands);
                               });
}
