#include "vrn_export/run_worker.h"

#include <utility>

namespace vrn::exporter {

RunWorker::RunWorker(const ExportPlan &plan, WorkOrder *order)
    : plan_(plan),
      order_(order),
      compressor_(plan.compression),
      encoder_(plan.format.make_encoder()) {}

void RunWorker::work() {
    WorkOrder::Reading reading;
    while (order_->next(&reading)) {
        read(reading);
        write_all_ready(reading.file);
    }
}

void RunWorker::read(const WorkOrder::Reading &reading) {
    OpenFile *file = reading.file.get();
    if ((reading.is_new && !open(file)) || !file->feed.take(&reading.slot->run)) {
        file->feed.close();
        order_->give_back(file, reading.slot);
        return;
    }
    // After was_read() the feed belongs to whoever reads next, so all that is asked of it comes
    // first.
    note_bytes(file, file->feed.raw_position());
    const bool has_ended = file->feed.has_ended();
    if (has_ended) file->feed.close();
    order_->was_read(file, has_ended);
    // Others read on while this run becomes text.
    walk(reading.file, reading.slot);
    order_->was_walked(file, reading.slot);
}

// False when there is nothing to read.
bool RunWorker::open(OpenFile *file) {
    file->start = std::chrono::steady_clock::now();
    const tool::InputFile &input = plan_.files[file->index];
    FileReport *report = &file->report;
    report->path = input.path;
    report->bytes_in = input.size;
    if (plan_.output.has_file(file->index, report)) return false;
    // No run of the file is under way yet, so its report is this thread's.
    const auto take_fault = [&](FoundFault fault) { report->add_fault(std::move(fault)); };
    if (!file->feed.open(input.path, &plan_.schemas, take_fault)) return false;
    report->is_selected = plan_.format.takes_file(file->feed.header());
    if (!report->is_selected) return false;
    file->schemas = file->feed.schemas();
    file->output = plan_.output.begin_file(file->index, file->feed);
    return true;
}

void RunWorker::walk(const std::shared_ptr<OpenFile> &file, RunSlot *slot) {
    // Header and cache don't change once the file is open: they may be used while another thread
    // reads.
    if (file_ != file) encoder_->begin_file(plan_.files[file->index].path, file->feed.header());
    // Shared, so that no later file can have the address of the one that the encoder knows.
    file_ = file;
    slot->encoded.clear();
    encoder_->begin_run(&slot->encoded);
    slot->end = scan::walk_chunk_run(slot->run, file->feed.cache().get(), &page_, encoder_.get());
    // The same comes as faults; kept, it would grow with the run.
    static_cast<void>(log_.take());
    for (Encoded::Table &table : slot->encoded.tables)
        if (table.text.size() > 0) compressor_.pack(&table.text);
}

void RunWorker::write_all_ready(const std::shared_ptr<OpenFile> &file) {
    for (WorkOrder::Writing writing; order_->next_to_write(file, &writing);) {
        write(writing);
        order_->was_written(writing);
    }
}

void RunWorker::write(const WorkOrder::Writing &writing) {
    OpenFile *file = writing.file.get();
    if (!writing.slot) return finish(file);
    walk_anew_if_misled(writing.file, writing.slot);
    file->output->write(writing.slot->encoded);
    file->report.counts += writing.slot->encoded.counts;
    // In the order of the runs: faults of one schema that follow each other become one.
    for (FoundFault &fault : writing.slot->encoded.faults) file->report.add_fault(std::move(fault));
}

// The feed foresees schemas blocks only where they begin a chunk.
void RunWorker::walk_anew_if_misled(const std::shared_ptr<OpenFile> &file, RunSlot *slot) {
    const bool is_misled = slot->run.schemas != file->schemas;
    // A run that neither used what it was given nor named others hands on what came before it.
    if (is_misled && (slot->end.used_first_schemas || slot->end.schemas == slot->run.schemas)) {
        slot->run.schemas = file->schemas;
        walk(file, slot);
    }
    file->schemas = slot->end.schemas;
}

void RunWorker::finish(OpenFile *file) {
    FileReport *report = &file->report;
    note_bytes(file, report->bytes_in);
    // Its numbers are those of the run that made the part.
    if (report->is_kept) return;
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - file->start;
    report->seconds = time.count();
    if (file->output)
        file->output->finish(report);
    else
        plan_.output.pass_over(report);
}

// `bytes` of the whole file.
void RunWorker::note_bytes(OpenFile *file, std::uint64_t bytes) {
    if (bytes <= file->noted_bytes) return;
    plan_.note_bytes(bytes - file->noted_bytes);
    file->noted_bytes = bytes;
}

}  // namespace vrn::exporter
