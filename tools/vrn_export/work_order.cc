#include "vrn_export/work_order.h"

#include <algorithm>
#include <utility>

namespace vrn::exporter {

WorkOrder::WorkOrder(Plan plan) : plan_(std::move(plan)) {
    for (std::size_t i = 0; i < plan_.num_slots; ++i) {
        slots_.push_back(std::make_unique<RunSlot>());
        free_slots_.push_back(slots_.back().get());
    }
}

bool WorkOrder::next(Reading *reading) {
    std::unique_lock lock(mutex_);
    *reading = {};
    work_.wait(lock, [&] { return is_stopped_ || has_all() || find_reading(reading); });
    return reading->slot != nullptr;
}

bool WorkOrder::has_all() const {
    return num_begun_ == plan_.num_files && files_.empty();
}

bool WorkOrder::find_reading(Reading *reading) {
    const auto idle =
        std::ranges::find_if(files_, [&](const auto &file) { return may_read(*file); });
    if (idle != files_.end()) {
        // The first file in order: what is begun ends, and its memory becomes free.
        *reading = {*idle, nullptr, false};
    } else if (may_open()) {
        files_.push_back(std::make_shared<OpenFile>());
        files_.back()->index = num_begun_++;
        *reading = {files_.back(), nullptr, true};
    } else {
        return false;
    }
    reading->file->reading = OpenFile::Reading::busy;
    reading->slot = free_slots_.back();
    free_slots_.pop_back();
    return true;
}

// Where files wait for each other, the last slot is kept for the one whose turn it is.
bool WorkOrder::may_read(const OpenFile &file) const {
    if (file.reading != OpenFile::Reading::idle || free_slots_.empty()) return false;
    return !plan_.is_ordered || free_slots_.size() > 1 || &file == files_.front().get();
}

// Files are bounded as well, or small ones that wait for their turn would hold any number of
// descriptors. As in may_read(), the last slot is kept for the file whose turn it is.
bool WorkOrder::may_open() const {
    if (num_begun_ == plan_.num_files || files_.size() >= plan_.num_slots) return false;
    return free_slots_.size() > (plan_.is_ordered && !files_.empty() ? 1U : 0U);
}

void WorkOrder::was_read(OpenFile *file, bool has_ended) {
    const std::lock_guard lock(mutex_);
    ++file->num_read;
    file->reading = has_ended ? OpenFile::Reading::ended : OpenFile::Reading::idle;
    // A file that has ended gives nobody anything to read.
    if (!has_ended) work_.notify_one();
}

void WorkOrder::give_back(OpenFile *file, RunSlot *slot) {
    const std::lock_guard lock(mutex_);
    file->reading = OpenFile::Reading::ended;
    free_slots_.push_back(slot);
    work_.notify_one();
}

void WorkOrder::was_walked(OpenFile *file, RunSlot *slot) {
    const std::lock_guard lock(mutex_);
    // Nobody is woken: the caller, or who writes the file now, looks for it next.
    file->walked[slot->run.index] = slot;
}

bool WorkOrder::next_to_write(const std::shared_ptr<OpenFile> &file, Writing *writing) {
    const std::lock_guard lock(mutex_);
    if (is_stopped_) return false;
    // Who has finished a file goes on with the one that this has let come to its turn.
    const auto &next = plan_.is_ordered && !files_.empty() ? files_.front() : file;
    // One thread at a time writes a file; it also takes what others have walked meanwhile.
    if (!is_writable(*next)) return false;
    next->is_writing = true;
    const auto first = next->walked.begin();
    *writing = {next, first == next->walked.end() ? nullptr : first->second};
    if (writing->slot) next->walked.erase(first);
    return true;
}

bool WorkOrder::is_writable(const OpenFile &file) const {
    if (file.is_writing || file.is_finished) return false;
    if (!file.walked.empty()) return file.walked.begin()->first == file.num_written;
    return file.reading == OpenFile::Reading::ended && file.num_written == file.num_read;
}

void WorkOrder::was_written(const Writing &writing) {
    const std::lock_guard lock(mutex_);
    writing.file->is_writing = false;
    if (writing.slot) {
        ++writing.file->num_written;
        free_slots_.push_back(writing.slot);
        work_.notify_one();
    } else {
        writing.file->is_finished = true;
        take_finished_files();
    }
}

// Called under the lock, which makes reports come one at a time. `take_finished` must not call
// back.
void WorkOrder::take_finished_files() {
    while (!files_.empty() && files_.front()->is_finished) {
        plan_.take_finished(*files_.front());
        files_.pop_front();
    }
    // Others may be begun now, or nothing is left.
    work_.notify_all();
}

void WorkOrder::stop() {
    const std::lock_guard lock(mutex_);
    is_stopped_ = true;
    work_.notify_all();
}

bool WorkOrder::is_stopped() {
    const std::lock_guard lock(mutex_);
    return is_stopped_;
}

}  // namespace vrn::exporter
