// Who reads, walks and writes what next, for all threads of a run.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "vrn_export/open_file.h"
#include "vrn_export/run_slot.h"

namespace vrn::exporter {

// Files are begun in order. A thread that has nothing to do helps the first file that nobody reads
// from at the moment, or else begins the next one. Runs of a file go out in order, and files as
// well where the output is ordered. Memory is bounded by the slots: a run has one from before it is
// read until it is written.
class WorkOrder {
  public:
    struct Plan {
        std::size_t num_files = 0;
        std::size_t num_slots = 0;  // at least 2
        bool is_ordered = false;
        // Gets each file that is finished, in order, one at a time.
        std::function<void(const OpenFile &file)> take_finished;
    };

    explicit WorkOrder(Plan plan);

    // What a thread is to read. `slot` is its own until it has gone to walked() or give_back().
    struct Reading {
        std::shared_ptr<OpenFile> file;
        RunSlot *slot;
        bool is_new;  // the file is to be opened first
    };
    // Waits for something to read. False when nothing is left, or the run was stopped.
    bool next(Reading *reading);

    // A run was read into its slot: others may read what follows, unless the file has ended.
    void was_read(OpenFile *file, bool has_ended);
    // The file has ended and gave no run.
    void give_back(OpenFile *file, RunSlot *slot);
    // The run is ready to be written.
    void was_walked(OpenFile *file, RunSlot *slot);

    // What the caller alone may write now; without a slot the file is to be finished.
    struct Writing {
        std::shared_ptr<OpenFile> file;
        RunSlot *slot;
    };
    // Doesn't wait. `file`: the one that the caller has just worked at. False when there is nothing
    // to write.
    bool next_to_write(const std::shared_ptr<OpenFile> &file, Writing *writing);
    void was_written(const Writing &writing);

    // No thread gets any more work.
    void stop();
    bool is_stopped();

  private:
    bool find_reading(Reading *reading);
    bool may_read(const OpenFile &file) const;
    bool may_open() const;
    bool is_writable(const OpenFile &file) const;
    bool has_all() const;
    void take_finished_files();

    Plan plan_;
    std::mutex mutex_;
    std::condition_variable work_;
    std::vector<std::unique_ptr<RunSlot>> slots_;
    std::vector<RunSlot *> free_slots_;
    std::deque<std::shared_ptr<OpenFile>> files_;  // begun and not taken as finished, in order
    std::size_t num_begun_ = 0;
    bool is_stopped_ = false;
};

}  // namespace vrn::exporter
