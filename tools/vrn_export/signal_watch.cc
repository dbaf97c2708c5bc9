#include "vrn_export/signal_watch.h"

#include <pthread.h>
#include <unistd.h>

#include <ctime>
#include <utility>

namespace vrn::exporter {
namespace {

constexpr timespec grace = {0, 700'000'000};
constexpr int signal_status = 128;
// Wakes the watch; it isn't sent from outside, and ends nothing while it is blocked.
constexpr int wake_signal = SIGUSR1;

bool is_ignored(int signal) {
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

SignalWatch::SignalWatch(std::function<void()> stop) : stop_(std::move(stop)) {
    sigemptyset(&signals_);
    sigaddset(&signals_, wake_signal);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        if (!is_ignored(signal)) sigaddset(&signals_, signal);
    // Before the thread is made: it and all later ones inherit the mask, and only sigwait() takes
    // them.
    pthread_sigmask(SIG_BLOCK, &signals_, &mask_before_);
    thread_ = std::thread([this] { watch(); });
}

SignalWatch::~SignalWatch() {
    // Before the wake, or the watch would go to sleep again.
    is_over_ = true;
    pthread_kill(thread_.native_handle(), wake_signal);
    thread_.join();
    pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
}

void SignalWatch::watch() {
    int signal = wake_signal;
    while (signal == wake_signal && !is_over_) sigwait(&signals_, &signal);
    if (signal == wake_signal) return;
    // Before stop(): whoever sees the run end must find why.
    signal_ = signal;
    stop_();
    // Parts have no names before they are whole, so that nothing half-written is left. A thread may
    // wait for a pipe or a file system for ever.
    sigset_t woken;
    sigemptyset(&woken);
    sigaddset(&woken, wake_signal);
    // _exit(), since flushes and destructors could wait for the same thing.
    if (sigtimedwait(&woken, nullptr, &grace) < 0) _exit(signal_status + signal);
}

void let_writes_fail() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace vrn::exporter
