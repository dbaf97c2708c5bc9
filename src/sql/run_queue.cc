#include "sql/run_queue.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "sql/column.h"
#include "sql/fault_visitor.h"
#include "sql/session.h"

namespace vrn::sql {
namespace {

std::uint64_t size_of(const FileInfo &file) {
    return static_cast<std::uint64_t>(file.status.st_size);
}

// False, after the fault was told, when it can't be read at all.
bool open_file(OpenFile *file) {
    const FileInfo &info = *file->info;
    file->source = ByteSource::open_path(info.path.c_str());
    if (!file->source) {
        report_fault(info.path, std::strerror(errno));
        return false;
    }
    file->feed = std::make_unique<scan::ChunkFeed>(file->source.get(), info.cache.get());
    FaultVisitor visitor(info.path);
    return file->feed->open(&visitor);
}

[[noreturn]] void fail_schemas(const FileInfo &file) {
    throw QueryError(file.path +
                     ": schemas change amid a run of events, so threads can't share the file: "
                     "SET threads = 1 reads it");
}

bool names_same(const scan::LoadedSchemas *a, const scan::LoadedSchemas *b) {
    return a == b || (a && b && a->ids == b->ids);
}

// Once both are known: what one run ended with is what the next one began with.
void check_walks(const OpenFile &file, std::size_t index) {
    if (index + 1 >= file.walks.size()) return;
    const OpenFile::Walk &walk = file.walks[index];
    const OpenFile::Walk &next = file.walks[index + 1];
    if (walk.last && next.used_first && !names_same(walk.last.get(), next.first.get()))
        fail_schemas(*file.info);
}

}  // namespace

RunQueue::RunQueue(std::vector<std::shared_ptr<const FileInfo>> files) : files_(std::move(files)) {
    for (const auto &file : files_) bytes_ahead_ += size_of(*file);
    vrn_sql_session()->bytes_ahead += bytes_ahead_;
}

RunQueue::~RunQueue() {
    vrn_sql_session()->bytes_ahead -= bytes_ahead_;
}

bool RunQueue::take(TakenRun *taken) {
    check_cancelled();
    std::shared_ptr<OpenFile> file = std::move(taken->file);
    for (;;) {
        if (!file) file = next_file();
        if (!file) file = file_to_help();
        if (!file) return false;
        if (take_from(file, taken)) return true;
        leave(file);
        file.reset();
    }
}

std::shared_ptr<OpenFile> RunQueue::next_file() {
    const std::lock_guard lock(mutex_);
    if (next_ == files_.size()) return nullptr;
    auto file = std::make_shared<OpenFile>(files_[next_++]);
    open_.push_back(file);
    const std::uint64_t size = size_of(*file->info);
    bytes_ahead_ -= size;
    vrn_sql_session()->bytes_ahead -= size;
    vrn_sql_session()->bytes_read += size;
    return file;
}

std::shared_ptr<OpenFile> RunQueue::file_to_help() {
    const std::lock_guard lock(mutex_);
    return open_.empty() ? nullptr : open_.front();
}

bool RunQueue::take_from(const std::shared_ptr<OpenFile> &file, TakenRun *taken) {
    const std::lock_guard lock(file->mutex);
    if (file->has_ended) return false;
    if ((!file->feed && !open_file(file.get())) || !file->feed->take(&taken->run)) {
        file->has_ended = true;
        return false;
    }
    // What the run before has come to is better than what the feed foresees.
    if (!file->walks.empty() && file->walks.back().last)
        taken->run.schemas = file->walks.back().last;
    file->walks.push_back({taken->run.schemas, nullptr, false});
    taken->first_schemas = taken->run.schemas;
    taken->file = file;
    return true;
}

void RunQueue::leave(const std::shared_ptr<OpenFile> &file) {
    const std::lock_guard lock(mutex_);
    std::erase(open_, file);
}

void RunQueue::end_walk(const TakenRun &taken,
                        std::shared_ptr<const scan::LoadedSchemas> last_schemas, bool used_first) {
    const std::lock_guard lock(taken.file->mutex);
    const std::size_t index = taken.run.index;
    taken.file->walks[index].last = std::move(last_schemas);
    taken.file->walks[index].used_first = used_first;
    check_walks(*taken.file, index);
    if (index > 0) check_walks(*taken.file, index - 1);
}

}  // namespace vrn::sql
