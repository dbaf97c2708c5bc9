#include "sql/run_queue.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "scan/block_walk.h"
#include "scan/file_head.h"

#include "sql/column.h"
#include "sql/fault_visitor.h"
#include "sql/session.h"

namespace vrn::sql {
namespace {

// False, after the fault was told, when it can't be read at all.
bool begin_plain(OpenFile *file) {
    // The header is known, but read again for its faults: each query tells those of its files.
    const FileInfo &info = *file->info;
    FaultVisitor visitor(info.path);
    const std::unique_ptr<ByteSource> source = ByteSource::open_descriptor(file->descriptor.get());
    scan::SchemasInUse schemas(info.cache.get(), &visitor);
    vrn_data_file_header_t header{};
    file->next_offset = sizeof header;
    if (!read_file_head(source.get(), &schemas, &visitor, &header)) return false;
    // What the catalog has of it is of another file then.
    if (!info.has_head) report_fault(info.path, "The file was changed while it was read");
    return info.has_head;
}

bool begin_compressed(OpenFile *file) {
    FaultVisitor visitor(file->info->path);
    file->source = ByteSource::open_descriptor(file->descriptor.get());
    file->feed = std::make_unique<scan::ChunkFeed>(file->source.get(), file->info->cache.get());
    return file->feed->open(&visitor);
}

bool begin_file(OpenFile *file) {
    file->descriptor = Descriptor(open(file->info->path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (!file->descriptor.is_open() || fstat(file->descriptor.get(), &status) != 0) {
        report_fault(file->info->path, std::strerror(errno));
        return false;
    }
    // As it is now: a file may have grown since the catalog looked.
    file->size = static_cast<std::uint64_t>(status.st_size);
    return file->info->is_compressed ? begin_compressed(file) : begin_plain(file);
}

// What is known to hold at an offset.
const std::shared_ptr<const scan::LoadedSchemas> &schemas_at(const FileInfo &info,
                                                             std::uint64_t offset) {
    const auto after = std::ranges::upper_bound(info.changes, offset, {}, &SchemaChange::offset);
    return std::prev(after)->schemas;
}

// The place of the next run of a plain file, whose bytes are not read yet. False at the end.
bool take_place(OpenFile *file, scan::ChunkRun *run, std::size_t *size) {
    if (file->next_offset >= file->size) return false;
    const std::size_t chunk_size = file->info->header.block_size;
    // Whole chunks, since a walk can begin nowhere else.
    const std::size_t room =
        std::max<std::size_t>(scan::ChunkRun::run_size / chunk_size, 1) * chunk_size;
    run->index = file->walks.size();
    run->offset = file->next_offset;
    run->chunk_size = static_cast<std::uint32_t>(chunk_size);
    run->schemas = schemas_at(*file->info, run->offset);
    // The run is used again and may still have the end of another file.
    run->end_fault.reset();
    *size = std::min<std::uint64_t>(room, file->size - run->offset);
    file->next_offset += *size;
    return true;
}

void fail_run(scan::ChunkRun *run, scan::FaultKind kind, std::uint64_t offset) {
    run->end_fault = scan::make_fault(kind, {.chunk = offset, .block = offset}, {}, 0, "%s",
                                      std::strerror(errno));
}

// Reads what was taken. A file that has become shorter just ends.
void load_run(int descriptor, std::size_t size, scan::ChunkRun *run) {
    if (!run->reserve(size)) return fail_run(run, scan::FaultKind::no_memory, run->offset);
    std::size_t got = 0;
    while (got < size) {
        const ssize_t count =
            pread(descriptor, run->room() + got, size - got, static_cast<off_t>(run->offset + got));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail_run(run, scan::FaultKind::read_failed, run->offset + got);
        if (count <= 0) break;
        got += static_cast<std::size_t>(count);
    }
    // Walks may look at the slack, which still has the bytes of the run before.
    std::memset(run->room() + got, 0, scan::slack_size);
    run->bytes = {run->room(), got};
}

[[noreturn]] void fail_schemas(const FileInfo &file) {
    throw QueryError(file.path +
                     ": schemas change amid a run of events, so threads can't share the file: "
                     "SET threads = 1 reads it");
}

// By their ids: what rows are decoded by counts, not which object holds it.
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
    for (const auto &file : files_) bytes_ += static_cast<std::uint64_t>(file->status.st_size);
    vrn_sql_session()->bytes_ahead += bytes_;
}

RunQueue::~RunQueue() {
    vrn_sql_session()->bytes_ahead -= bytes_ - bytes_read_;
}

bool RunQueue::take(TakenRun *taken) {
    check_cancelled();
    // A thread stays with its file as long as that has runs: alone it then reads all files in
    // order.
    std::shared_ptr<OpenFile> file = std::move(taken->file);
    for (;;) {
        // Files of their own first: threads that share one wait for each other at its mutex.
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
    // Open to helpers from now on: whoever gets its mutex first begins it.
    open_.push_back(std::make_shared<OpenFile>(files_[next_++]));
    return open_.back();
}

std::shared_ptr<OpenFile> RunQueue::file_to_help() {
    const std::lock_guard lock(mutex_);
    // The oldest, so that few files are open at a time.
    return open_.empty() ? nullptr : open_.front();
}

bool RunQueue::take_from(const std::shared_ptr<OpenFile> &file, TakenRun *taken) {
    scan::ChunkRun &run = taken->run;
    std::size_t size = 0;
    {
        // Never under the queue's own mutex: opening a file or decompressing a run takes long.
        const std::lock_guard lock(file->mutex);
        if (file->has_ended) return false;
        // A file that can't begin ends here, and its fault is told once.
        const bool is_good = std::exchange(file->has_begun, true) || begin_file(file.get());
        const bool has_run =
            is_good && (file->feed ? file->feed->take(&run) : take_place(file.get(), &run, &size));
        file->has_ended = !has_run;
        tell_read(file.get(), !has_run ? file->size : file->feed ? run.bytes.size() : size);
        if (!has_run) return false;
        // What the run before has come to is better than what is foreseen.
        if (!file->walks.empty() && file->walks.back().last) run.schemas = file->walks.back().last;
        file->walks.push_back({run.schemas, nullptr, false});
    }
    taken->first_schemas = run.schemas;
    taken->file = file;
    // Outside the lock: this is what lets threads read one plain file together.
    if (!file->feed) load_run(file->descriptor.get(), size, &run);
    return true;
}

// As far as the file had them when it was found: it may grow meanwhile.
void RunQueue::tell_read(OpenFile *file, std::uint64_t bytes) {
    // A compressed file tells its decompressed bytes, which are mostly more than it has.
    const auto all = static_cast<std::uint64_t>(file->info->status.st_size);
    const std::uint64_t count = std::min(bytes, all - file->told);
    file->told += count;
    bytes_read_ += count;
    vrn_sql_session()->bytes_read += count;
    vrn_sql_session()->bytes_ahead -= count;
}

void RunQueue::leave(const std::shared_ptr<OpenFile> &file) {
    const std::lock_guard lock(mutex_);
    // Several threads find a file at its end; only the first has anything to erase.
    std::erase(open_, file);
}

void RunQueue::end_walk(const TakenRun &taken,
                        std::shared_ptr<const scan::LoadedSchemas> last_schemas, bool used_first) {
    // Runs may end in any order: the one that ends last of two neighbours finds what doesn't fit.
    const std::lock_guard lock(taken.file->mutex);
    const std::size_t index = taken.run.index;
    taken.file->walks[index].last = std::move(last_schemas);
    taken.file->walks[index].used_first = used_first;
    check_walks(*taken.file, index);
    if (index > 0) check_walks(*taken.file, index - 1);
}

}  // namespace vrn::sql
