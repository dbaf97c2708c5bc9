#include "vrn_collect/stop_signal.h"

#include <semaphore.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace vrn::collect {
namespace {

// One post for each signal; the run takes one and ends.
sem_t stop_requests;

void request_stop(int /*signal*/) {
    const int saved = errno;
    // One of the few calls that a signal handler may make.
    sem_post(&stop_requests);
    errno = saved;
}

void catch_once(int signal) {
    struct sigaction action {};
    // Ignored on purpose by whoever started us, as nohup does.
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) return;
    action = {};
    action.sa_handler = request_stop;
    // Back to the default with the first signal, so that a second one ends a run that hangs.
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    sigaction(signal, &action, nullptr);
}

timespec to_timespec(std::chrono::steady_clock::time_point time) {
    const auto since_boot = time.time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since_boot);
    return {seconds.count(), (since_boot - seconds).count()};
}

}  // namespace

void catch_stop_signals() {
    sem_init(&stop_requests, 0, 0);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) catch_once(signal);
}

void let_writes_fail() {
    // A write that fails is an error that is told; the default would end the run with samples
    // unstored.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool wait_for_stop_signal(std::chrono::steady_clock::time_point time) {
    const timespec until = to_timespec(time);
    int result = 0;
    // Monotonic: setting the clock must neither stop nor hurry the samples.
    while ((result = sem_clockwait(&stop_requests, CLOCK_MONOTONIC, &until)) != 0 &&
           errno == EINTR) {
    }
    return result == 0;
}

}  // namespace vrn::collect
