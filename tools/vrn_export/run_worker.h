// What one thread of an export does.
#pragma once

#include <memory>

#include "scan/page_buffer.h"
#include "utils/log_capture.h"
#include "vrn_export/export_plan.h"
#include "vrn_export/work_order.h"

namespace vrn::exporter {

class RunWorker {
  public:
    // Borrows both.
    RunWorker(const ExportPlan &plan, WorkOrder *order);

    // Reads, walks and writes until nothing is left to read, or the order is stopped.
    void work();

  private:
    void read(const WorkOrder::Reading &reading);
    bool open(OpenFile *file);
    void walk(const std::shared_ptr<OpenFile> &file, RunSlot *slot);
    void write_all_ready(const std::shared_ptr<OpenFile> &file);
    void write(const WorkOrder::Writing &writing);
    void walk_anew_if_misled(const std::shared_ptr<OpenFile> &file, RunSlot *slot);
    void finish(OpenFile *file);
    void note_bytes(OpenFile *file, std::uint64_t bytes);

    const ExportPlan &plan_;
    WorkOrder *order_;
    LogCapture log_;  // faults tell what decoders log
    scan::PageBuffer page_;
    Compressor compressor_;
    std::shared_ptr<OpenFile> file_;  // that the encoder has begun
    std::unique_ptr<Encoder> encoder_;
};

}  // namespace vrn::exporter
