// The export of many files by several threads.
#pragma once

#include <exception>
#include <mutex>

#include "vrn_export/export_plan.h"
#include "vrn_export/work_order.h"

namespace vrn::exporter {

class ExportRun {
  public:
    // Runs of chunks that may be under way, for `threads` threads.
    static constexpr unsigned slots_beside_threads = 4;

    explicit ExportRun(ExportPlan plan);

    // False when it was stopped. Throws std::system_error when no thread can be had, and what a
    // thread threw. To be called once.
    bool run();

    // By any thread.
    void stop() { order_.stop(); }

  private:
    void work();
    void fail(const std::exception_ptr &error);

    ExportPlan plan_;
    WorkOrder order_;
    std::mutex mutex_;
    std::exception_ptr error_;
};

}  // namespace vrn::exporter
