#include "vrn_export/export_run.h"

#include <thread>
#include <utility>
#include <vector>

#include "vrn_export/run_worker.h"

namespace vrn::exporter {

ExportRun::ExportRun(ExportPlan plan)
    : plan_(std::move(plan)),
      order_({.num_files = plan_.files.size(),
              .num_slots = plan_.threads + slots_beside_threads,
              .is_ordered = plan_.output.is_ordered(),
              .take_finished = [this](const OpenFile &file) { plan_.take_report(file.report); }}) {}

bool ExportRun::run() {
    {
        // Joined at the end of the block; after that `error_` is read without the lock.
        std::vector<std::jthread> threads;
        try {
            for (unsigned i = 1; i < plan_.threads; ++i) threads.emplace_back([this] { work(); });
        } catch (...) {
            // Threads that have begun would otherwise finish all the work before they are joined.
            stop();
            throw;
        }
        // The calling thread is one of them.
        work();
    }
    if (error_) std::rethrow_exception(error_);
    return !order_.is_stopped();
}

void ExportRun::work() {
    try {
        RunWorker(plan_, &order_).work();
    } catch (...) {
        fail(std::current_exception());
    }
}

void ExportRun::fail(const std::exception_ptr &error) {
    stop();
    const std::lock_guard lock(mutex_);
    // The first is told: those after it mostly follow from it.
    if (!error_) error_ = error;
}

}  // namespace vrn::exporter
