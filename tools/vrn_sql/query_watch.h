// What goes on beside a query: signals that end it, and a bar that shows how far it is.
#pragma once

#include <signal.h>

#include <atomic>
#include <thread>

#include "vrn_sql/database.h"

namespace vrn::sqltool {

// Keeps the signals that end a run from threads that are made from now on; watches take them.
void hold_signals();

// Lives as long as a query. Ctrl-C, SIGTERM and SIGHUP cancel it within a tenth of a second. On a
// terminal a bar on standard error tells of a query that takes a while.
class QueryWatch {
  public:
    explicit QueryWatch(Database *database);
    ~QueryWatch();
    QueryWatch(const QueryWatch &) = delete;
    QueryWatch &operator=(const QueryWatch &) = delete;

    // The signal that came; 0 when none did.
    int signal() const { return signal_; }

  private:
    void watch();
    void show_progress();
    void clear_progress();

    Database *database_;
    std::atomic<int> signal_ = 0;
    std::atomic<bool> has_ended_ = false;
    bool is_shown_ = false;
    int ticks_ = 0;
    std::thread thread_;  // last: it uses the others
};

}  // namespace vrn::sqltool
