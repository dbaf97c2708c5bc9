#include "utils/log.h"

#include <syslog.h>

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <utility>

#include "utils/hexdump.h"

// Plain variables, read and written without atomics: a second module may share them by their names,
// and the level test at each call costs one load.
std::uint32_t vrn_log_level = VRN_LOG_UNINITIALIZED;
vrn_log_kind_t vrn_log_kind = VRN_LOG_KIND_STDERR;
std::FILE *vrn_log_stream = nullptr;
vrn_log_callback_t vrn_log_callback = nullptr;
pthread_mutex_t *vrn_log_mutex = nullptr;
bool vrn_log_registered = false;

namespace {

pthread_mutex_t static_mutex;
// Takes the messages of one thread, so that scans in several threads keep theirs apart.
thread_local vrn_log_callback_t thread_taker = nullptr;

void destroy_mutex_at_exit() {
    // A mutex that came from another module is that module's to destroy.
    if (vrn_log_registered || !vrn_log_mutex) return;
    pthread_mutex_destroy(vrn_log_mutex);
    vrn_log_mutex = nullptr;
}

// False when logging goes on without a mutex of its own making.
// The name is what the messages below print, so the leading underscore stays.
bool _vrn_init_logger_mutex() {
    // Not vrn_getenv: it is built on the log that starts here.
    const vrn::EnvLookup setting = vrn::look_up_env("VRN_LOG_THREAD_SAFE");
    if (setting.is_conflict()) vrn_log_env_conflict(setting);
    const char *thread_safe = setting.value();
    // An empty value keeps the mutex. An earlier mutex stays in place in any case.
    if (thread_safe && *thread_safe && !vrn_env_value_is_true(thread_safe)) {
        VRN_LOG(VRN_LOG_DEBUG,
                "[logger] [%s] Thread safety is disabled by environment variable "
                "VRN_LOG_THREAD_SAFE",
                __func__);
        return false;
    }
    if (vrn_log_registered || vrn_log_mutex) return true;
    vrn_log_mutex = &static_mutex;
    if (pthread_mutex_init(vrn_log_mutex, nullptr) != 0) {
        vrn_log_mutex = nullptr;
        VRN_LOG(VRN_LOG_ERROR, "[logger] [%s] failed to initialize logger mutex", __func__);
        return false;
    }
    std::atexit(destroy_mutex_at_exit);
    return true;
}

void init_mutex_for(const char *caller) {
    if (!_vrn_init_logger_mutex())
        VRN_LOG(VRN_LOG_DEBUG, "[logger] [%s] Initialized logger without thread-safety", caller);
}

bool refuse_when_registered(const char *caller) {
    if (vrn_log_registered)
        VRN_LOG(VRN_LOG_DEBUG, "[logger] [%s] registered logger cannot initialize logger", caller);
    return vrn_log_registered;
}

const char *level_tag(std::uint32_t level) {
    switch (level) {
        case VRN_LOG_ERROR:
            return "[error] ";
        case VRN_LOG_WARNING:
            return "[warning] ";
        case VRN_LOG_INFO:
            return "[info] ";
        case VRN_LOG_DEBUG:
            return "[debug] ";
        default:
            return "";
    }
}

void write_time_prefix(std::FILE *stream) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    long milliseconds = now.tv_nsec / 1000000;
    // For clocks that hand out a whole second of nanoseconds.
    if (milliseconds > 999) {
        milliseconds -= 1000;
        now.tv_sec += 1;
    }
    tm local{};
    localtime_r(&now.tv_sec, &local);
    char text[26] = "";
    std::strftime(text, sizeof text, "[%Y-%m-%d %H:%M:%S", &local);
    std::fprintf(stream, "%s.%03ld] ", text, milliseconds);
}

// Holds the log's mutex, if there is one, for a scope.
class LogLock {
  public:
    LogLock() : mutex_(vrn_log_mutex) {
        if (mutex_) pthread_mutex_lock(mutex_);
    }
    ~LogLock() {
        if (mutex_) pthread_mutex_unlock(mutex_);
    }
    LogLock(const LogLock &) = delete;
    LogLock &operator=(const LogLock &) = delete;

  private:
    pthread_mutex_t *mutex_;
};

}  // namespace

void vrn_log(std::uint32_t level, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    vrn_vlog(level, format, arguments);
    va_end(arguments);
}

void vrn_vlog(std::uint32_t level, const char *format, std::va_list arguments) {
    if (vrn_log_kind == VRN_LOG_KIND_SYSLOG) {
        // The daemon adds time and level of its own, and syslog locks for itself.
        vsyslog(static_cast<int>(level), format, arguments);
        return;
    }
    if (!vrn_log_stream) vrn_init_stderr_logger(vrn_log_level);
    // Still null when the state of another module was imported without a stream.
    std::FILE *stream = vrn_log_stream ? vrn_log_stream : stderr;
    LogLock lock;
    write_time_prefix(stream);
    std::fputs(level_tag(level), stream);
    std::vfprintf(stream, format, arguments);
    std::fputc('\n', stream);
    // Line by line: a crash right after a message must not take it along.
    std::fflush(stream);
}

void vrn_log_env_conflict(const vrn::EnvLookup &found) {
    VRN_LOG(VRN_LOG_WARNING,
            "[vrn_getenv] Environment variables conflict - VRN_%s=%s and %s=%s. Using VRN_%s",
            found.bare_name, found.prefixed_value, found.bare_name, found.bare_value,
            found.bare_name);
}

void vrn_log_init_from_env() {
    // A level of -1 leaves the log uninitialised: a message on the way must not start it again.
    static bool starting = false;
    if (starting) return;
    starting = true;
    int level = 0;
    const char *text = vrn::look_up_env("VRN_API_LOG_LEVEL").value();
    // sscanf and its lenience are part of the variable's meaning: "7x" is 7, "abc" is 0.
    if (!text || std::sscanf(text, "%d", &level) != 1) level = 0;  // NOLINT(cert-err34-c)
    vrn_init_stderr_logger(static_cast<std::uint32_t>(level));
    starting = false;
}

bool vrn_init_stderr_logger(std::uint32_t level) {
    if (refuse_when_registered(__func__)) return false;
    vrn_log_kind = VRN_LOG_KIND_STDERR;
    vrn_log_stream = stderr;
    vrn_log_level = level;
    init_mutex_for(__func__);
    return true;
}

bool vrn_init_syslog_logger(const char *ident, std::uint32_t level) {
    if (refuse_when_registered(__func__)) return false;
    openlog(ident, LOG_PID | LOG_CONS, LOG_DAEMON);
    vrn_log_kind = VRN_LOG_KIND_SYSLOG;
    vrn_log_level = level;
    init_mutex_for(__func__);
    return true;
}

bool vrn_init_file_logger(const char *path, std::uint32_t level) {
    if (refuse_when_registered(__func__)) return false;
    // The old sink first: both may name one file.
    vrn_close_logger();
    std::FILE *stream = std::fopen(path, "w");
    if (!stream) {
        // A log with nowhere to go would hide the failure that made it so.
        vrn_init_stderr_logger(level);
        return false;
    }
    vrn_log_stream = stream;
    vrn_log_kind = VRN_LOG_KIND_FILE;
    vrn_log_level = level;
    init_mutex_for(__func__);
    return true;
}

void vrn_close_logger() {
    if (vrn_log_registered) {
        VRN_LOG(VRN_LOG_DEBUG, "[logger] [%s] tried closing a registered logger, skipping closure",
                __func__);
        return;
    }
    if (vrn_log_kind == VRN_LOG_KIND_SYSLOG) closelog();
    if (vrn_log_kind == VRN_LOG_KIND_FILE && vrn_log_stream) std::fclose(vrn_log_stream);
    vrn_init_stderr_logger(vrn_log_level);
}

std::uint32_t vrn_log_set_level(std::uint32_t level) {
    const std::uint32_t before = vrn_log_level;
    vrn_log_level = level;
    return before;
}

// Also allowed in a registered module, unlike the other sinks: a callback owns nothing to close.
void vrn_log_register_callback(vrn_log_callback_t callback, std::uint32_t level) {
    vrn_log_callback = callback;
    vrn_log_level = level;
    vrn_log_kind = VRN_LOG_KIND_CALLBACK;
}

vrn_log_callback_t vrn_log_get_callback() {
    return vrn_log_callback;
}

vrn_log_callback_t vrn_log_set_thread_taker(vrn_log_callback_t taker) {
    return std::exchange(thread_taker, taker);
}

vrn_log_callback_t vrn_log_taker_of_thread() {
    return thread_taker ? thread_taker : vrn_log_get_callback();
}

vrn_log_state_t *vrn_log_export_state() {
    auto *state = static_cast<vrn_log_state_t *>(std::calloc(1, sizeof(vrn_log_state_t)));
    if (!state) return nullptr;
    state->kind = vrn_log_kind;
    // Only what the kind uses: a leftover of an earlier sink may be closed by now.
    if (vrn_log_kind == VRN_LOG_KIND_STDERR || vrn_log_kind == VRN_LOG_KIND_FILE)
        state->stream = vrn_log_stream;
    if (vrn_log_kind == VRN_LOG_KIND_CALLBACK) state->callback = vrn_log_callback;
    state->level = vrn_log_level;
    state->mutex = vrn_log_mutex;
    return state;
}

bool vrn_log_import_state(const vrn_log_state_t *state) {
    if (!state) return false;
    // One's own state must not count as registered: that would disable every sink for good.
    if (state->kind == vrn_log_kind && state->level == vrn_log_level &&
        state->mutex == vrn_log_mutex && state->callback == vrn_log_callback &&
        state->stream == vrn_log_stream)
        return true;
    vrn_log_mutex = state->mutex;
    vrn_log_level = state->level;
    vrn_log_kind = state->kind;
    vrn_log_registered = true;
    if (state->kind == VRN_LOG_KIND_CALLBACK) vrn_log_callback = state->callback;
    if (state->kind == VRN_LOG_KIND_STDERR || state->kind == VRN_LOG_KIND_FILE)
        vrn_log_stream = state->stream;
    return true;
}

void vrn_log_hexdump(const void *data, std::size_t length) {
    // The level is tested once here: a dump that is not printed costs no text.
    if (vrn_log_level == VRN_LOG_UNINITIALIZED) vrn_log_init_from_env();
    if (vrn_log_level < VRN_LOG_DEBUG) return;

    constexpr std::size_t per_line = 16;
    const auto *bytes = static_cast<const unsigned char *>(data);
    for (std::size_t start = 0; start < length; start += per_line) {
        const std::size_t count = std::min(per_line, length - start);
        VRN_LOG(VRN_LOG_DEBUG, "%s ", vrn_hexdump_line(bytes + start, count).c_str());
    }
}
