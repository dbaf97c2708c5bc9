// What the extension and the program that loaded it tell each other while queries run. One for the
// process; a host that doesn't ask for it gets the defaults.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

// Shows one file with faults; all texts are valid during the call.
typedef void (*vrn_sql_show_fault_t)(void *to, const char *path, const char *first_reason,
                                     std::uint64_t count);

struct vrn_sql_session_t {
    std::atomic<std::uint64_t> bytes_read;   // by the scans since it was set to 0
    std::atomic<std::uint64_t> bytes_ahead;  // of files that they have yet to read
    std::atomic<bool> is_cancelled;          // ends what the engine can't interrupt
    std::atomic<bool> is_strict;             // the first fault ends its query
    // Hands out the files with faults since the last call, by path, and forgets them.
    void (*take_faults)(vrn_sql_show_fault_t show, void *to);
};

extern "C" vrn_sql_session_t *vrn_sql_session();

namespace vrn::sql {

inline constexpr char session_function[] = "vrn_sql_session";

// Throws QueryError after a cancel.
void check_cancelled();
// By any thread. Throws QueryError when the session is strict.
void report_fault(const std::string &path, const std::string &reason);

}  // namespace vrn::sql
