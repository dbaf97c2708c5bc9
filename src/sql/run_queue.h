// The files of one query, handed out in runs of chunks to the threads that read them.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "scan/chunk_feed.h"
#include "sql/file_info.h"
#include "utils/descriptor.h"

namespace vrn::sql {

// A file that threads share. Its members are for the queue, under `mutex`.
struct OpenFile {
    explicit OpenFile(std::shared_ptr<const FileInfo> file) : info(std::move(file)) {}

    const std::shared_ptr<const FileInfo> info;
    std::mutex mutex;
    bool has_begun = false;
    bool has_ended = false;
    // Set when it begins and left alone after that, so that threads use it without the mutex.
    Descriptor descriptor;
    std::uint64_t size = 0;
    std::uint64_t told = 0;  // bytes of it that the session counts as read
    // Of a plain file threads read their runs at a time, of a compressed one in turns, by the feed.
    std::uint64_t next_offset = 0;
    std::unique_ptr<ByteSource> source;
    std::unique_ptr<scan::ChunkFeed> feed;
    // Of the runs taken so far, by index.
    struct Walk {
        std::shared_ptr<const scan::LoadedSchemas> first;
        std::shared_ptr<const scan::LoadedSchemas> last;  // null: not known yet
        bool used_first = false;
    };
    std::vector<Walk> walks;
};

// A run and the file it is of.
struct TakenRun {
    std::shared_ptr<OpenFile> file;
    scan::ChunkRun run;
    std::shared_ptr<const scan::LoadedSchemas> first_schemas;  // those it began with
};

// Threads begin with files of their own and then help each other. One thread alone gets all runs in
// order. Throws QueryError: in a strict session at the first fault, after a cancel, and when
// threads decoded a run by schemas that turned out not to hold there.
class RunQueue {
  public:
    explicit RunQueue(std::vector<std::shared_ptr<const FileInfo>> files);
    ~RunQueue();
    RunQueue(const RunQueue &) = delete;
    RunQueue &operator=(const RunQueue &) = delete;

    std::size_t num_files() const { return files_.size(); }

    // The next run for the thread that had `*taken` before. False when there is none left.
    bool take(TakenRun *taken);
    // Tells how the walk over all of a run ended.
    static void end_walk(const TakenRun &taken,
                         std::shared_ptr<const scan::LoadedSchemas> last_schemas, bool used_first);

  private:
    std::shared_ptr<OpenFile> next_file();
    std::shared_ptr<OpenFile> file_to_help();
    bool take_from(const std::shared_ptr<OpenFile> &file, TakenRun *taken);
    void tell_read(OpenFile *file, std::uint64_t bytes);
    void leave(const std::shared_ptr<OpenFile> &file);

    const std::vector<std::shared_ptr<const FileInfo>> files_;
    // For the two below. Never taken while a file's mutex is held.
    std::mutex mutex_;
    std::size_t next_ = 0;
    std::vector<std::shared_ptr<OpenFile>> open_;
    // What the session still counts as ahead ends with the query.
    std::uint64_t bytes_ = 0;
    std::atomic<std::uint64_t> bytes_read_ = 0;
};

}  // namespace vrn::sql
