// The process-wide log: one call form, a numeric level, four kinds of sink.
// The first message that is tested starts the log from VRN_API_LOG_LEVEL.
#pragma once

#include <pthread.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "utils/env_lookup.h"

// Levels are syslog priorities; the system's own messages use these four.
inline constexpr std::uint32_t VRN_LOG_ERROR = 3;
inline constexpr std::uint32_t VRN_LOG_WARNING = 4;
inline constexpr std::uint32_t VRN_LOG_INFO = 6;
inline constexpr std::uint32_t VRN_LOG_DEBUG = 7;
inline constexpr std::uint32_t VRN_LOG_UNINITIALIZED = 0xFFFFFFFF;

enum vrn_log_kind_t : std::uint32_t {
    VRN_LOG_KIND_STDERR = 0,
    VRN_LOG_KIND_SYSLOG = 1,
    VRN_LOG_KIND_FILE = 2,
    VRN_LOG_KIND_CALLBACK = 3,
};

// A registered sink. It receives the format unexpanded, and concurrent calls.
typedef void (*vrn_log_callback_t)(std::int32_t level, const char *format, ...);

// Snapshot of the log with which a second module of the process can share it.
struct vrn_log_state_t {
    vrn_log_kind_t kind;
    std::FILE *stream;            // kinds 0 and 2
    vrn_log_callback_t callback;  // kind 3
    std::uint32_t level;
    pthread_mutex_t *mutex;  // null when logging is not thread-safe
};

extern std::uint32_t vrn_log_level;
extern vrn_log_kind_t vrn_log_kind;
extern std::FILE *vrn_log_stream;
extern vrn_log_callback_t vrn_log_callback;
extern pthread_mutex_t *vrn_log_mutex;
extern bool vrn_log_registered;

// The only way to log. The arguments are not evaluated when the message is not printed.
#define VRN_LOG(level, ...)                                                   \
    do {                                                                      \
        if (vrn_log_level == VRN_LOG_UNINITIALIZED) vrn_log_init_from_env();  \
        if (vrn_log_level >= static_cast<std::uint32_t>(level)) {             \
            if (vrn_log_callback_t vrn_log_taker = vrn_log_taker_of_thread()) \
                vrn_log_taker(static_cast<std::int32_t>(level), __VA_ARGS__); \
            else                                                              \
                vrn_log(static_cast<std::uint32_t>(level), __VA_ARGS__);      \
        }                                                                     \
    } while (0)

// Writes one message to the built-in sink; VRN_LOG is the caller.
void vrn_log(std::uint32_t level, const char *format, ...) __attribute__((format(printf, 2, 3)));
void vrn_vlog(std::uint32_t level, const char *format, std::va_list arguments)
    __attribute__((format(printf, 2, 0)));

// Tells, at level 4, that a variable is set differently under its two spellings.
void vrn_log_env_conflict(const vrn::EnvLookup &found);

// Starts the standard error sink at the level of VRN_API_LOG_LEVEL; unset or unparsable is 0.
void vrn_log_init_from_env();

// Each starts one sink at `level`. False, after a level 7 line, once state was imported.
bool vrn_init_stderr_logger(std::uint32_t level);
[[nodiscard]] bool vrn_init_syslog_logger(const char *ident, std::uint32_t level);
// Empties the file at `path`. When it can't be opened the log is on standard error; false.
[[nodiscard]] bool vrn_init_file_logger(const char *path, std::uint32_t level);

// Closes the sink and goes back to standard error.
void vrn_close_logger();

// Returns the level before.
std::uint32_t vrn_log_set_level(std::uint32_t level);

void vrn_log_register_callback(vrn_log_callback_t callback, std::uint32_t level);
vrn_log_callback_t vrn_log_get_callback();

// Gives the messages of the calling thread to `taker` and to no sink, until the next call; null
// ends that. Returns the taker before. vrn::LogCapture is the convenient form.
vrn_log_callback_t vrn_log_set_thread_taker(vrn_log_callback_t taker);
// The thread's taker or else the registered callback; null when the built-in sink takes messages.
vrn_log_callback_t vrn_log_taker_of_thread();

// The caller ends the snapshot with free(); null when out of memory.
[[nodiscard]] vrn_log_state_t *vrn_log_export_state();
// Takes over another module's sink; from then on no sink starts or closes here. False for null.
[[nodiscard]] bool vrn_log_import_state(const vrn_log_state_t *state);

// Writes `length` bytes at level 7, 16 bytes a line.
void vrn_log_hexdump(const void *data, std::size_t length);
