#include "vrn_sql/query_watch.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace vrn::sqltool {
namespace {

constexpr long tick_ns = 50'000'000;
constexpr int ticks_before_bar = 10;  // half a second
constexpr std::uint64_t bar_width = 40;
constexpr char clear_line[] = "\r\033[K";

sigset_t held_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
    return signals;
}

}  // namespace

void hold_signals() {
    const sigset_t signals = held_signals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

QueryWatch::QueryWatch(Database *database) : database_(database) {
    vrn_sql_session_t *session = database->session();
    // Before the thread starts: the cancel of the last query may still be set.
    session->is_cancelled = false;
    session->bytes_read = 0;
    thread_ = std::thread([this] { watch(); });
}

QueryWatch::~QueryWatch() {
    // Before the signal, or the thread could take it for one of the user's.
    has_ended_ = true;
    // Wakes it; no other thread takes the signal.
    pthread_kill(thread_.native_handle(), SIGHUP);
    thread_.join();
    clear_progress();
}

void QueryWatch::watch() {
    const sigset_t signals = held_signals();
    const timespec tick = {0, tick_ns};
    while (!has_ended_) {
        const int signal = sigtimedwait(&signals, nullptr, &tick);
        if (has_ended_) return;
        if (signal > 0) signal_ = signal;
        // Again and again: one that comes before the engine begins would be lost.
        if (signal_ != 0)
            database_->cancel();
        else if (++ticks_ > ticks_before_bar)
            show_progress();
    }
}

void QueryWatch::show_progress() {
    const vrn_sql_session_t *session = database_->session();
    // The two are read one after the other, so the bar may be off by a run, but never beyond its
    // end.
    const std::uint64_t read = session->bytes_read;
    const std::uint64_t all = read + session->bytes_ahead;
    if (all == 0 || isatty(STDERR_FILENO) == 0) return;
    const std::string bar(static_cast<std::size_t>(bar_width * read / all), '#');
    std::fprintf(stderr, "\r[%-*s] %3d %%", static_cast<int>(bar_width), bar.c_str(),
                 static_cast<int>(100 * read / all));
    std::fflush(stderr);
    is_shown_ = true;
}

void QueryWatch::clear_progress() {
    // Only after the thread has ended, which is why no lock is needed.
    if (!is_shown_) return;
    std::fputs(clear_line, stderr);
    std::fflush(stderr);
}

}  // namespace vrn::sqltool
