#include "sql/session.h"

#include <map>
#include <mutex>

#include "sql/column.h"

namespace vrn::sql {
namespace {

struct FileFaults {
    std::string first;
    std::uint64_t count = 0;
};

std::mutex mutex;
// Only the first reason is kept: a damaged file may have a fault for each of its blocks.
std::map<std::string, FileFaults> faults;  // by path

void take_faults(vrn_sql_show_fault_t show, void *to) {
    std::map<std::string, FileFaults> taken;
    {
        const std::lock_guard lock(mutex);
        // `show` is the host's and may take its time: it is called without the lock.
        taken.swap(faults);
    }
    for (const auto &[path, file] : taken) show(to, path.c_str(), file.first.c_str(), file.count);
}

}  // namespace

void check_cancelled() {
    if (vrn_sql_session()->is_cancelled) throw QueryError("the query was cancelled");
}

void report_fault(const std::string &path, const std::string &reason) {
    {
        const std::lock_guard lock(mutex);
        FileFaults &file = faults[path];
        if (file.count++ == 0) file.first = reason;
    }
    // Counted first: a strict session tells the file as well.
    if (vrn_sql_session()->is_strict) throw QueryError(path + ": " + reason);
}

}  // namespace vrn::sql

extern "C" __attribute__((visibility("default"))) vrn_sql_session_t *vrn_sql_session() {
    static vrn_sql_session_t session = {0, 0, false, false, vrn::sql::take_faults};
    return &session;
}
