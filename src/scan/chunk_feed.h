// A data file in runs of chunks, which several threads may walk at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

#include "data/data_file_header.h"
#include "scan/byte_source.h"
#include "scan/fault.h"
#include "scan/file_head.h"
#include "scan/page_buffer.h"
#include "scan/schema_cache.h"
#include "scan/schemas_in_use.h"
#include "scan/visitor.h"
#include "utils/byte_reader.h"
#include "utils/c_ptr.h"

namespace vrn::scan {

// Chunks that follow each other: as many as fill `run_size` bytes, at least one. Used for one run
// after the other it keeps its memory.
struct ChunkRun {
    // With the text of its records it stays in a core's own cache.
    static constexpr std::size_t run_size = 1 << 17;

    std::size_t index = 0;     // in the file, from 0
    std::uint64_t offset = 0;  // in the file, decompressed
    Bytes bytes;               // with slack_size zeros after them; may be empty
    std::uint32_t chunk_size = 0;
    // Taken to hold at the first block; null without a cache. See ChunkRunEnd.
    std::shared_ptr<const LoadedSchemas> schemas;
    std::optional<Fault> end_fault;  // of the file, after these bytes; lies at no block

    // Room for `size` bytes and slack. False when memory runs out; the run is empty then.
    [[nodiscard]] bool reserve(std::size_t size);
    std::uint8_t *room() { return room_.get(); }

  private:
    CPtr<std::uint8_t, std::free> room_;
    std::size_t size_ = 0;
};

// What the walk over a run came to. Where a run used the schemas it was given and the one before it
// ended with others (a schemas block stood deep inside of it), it must be walked anew with those:
// the feed foresees schemas blocks only where they begin a chunk.
struct ChunkRunEnd {
    Next next;  // Next::nothing when the visitor ended the file
    std::shared_ptr<const LoadedSchemas> schemas;
    bool used_first_schemas;
};

// Reads a file from its start to its end. Not for several threads at a time: callers take turns.
class ChunkFeed {
  public:
    // Borrows both. Without schemas, events and counters are passed over.
    ChunkFeed(ByteSource *source, SchemaCache *schemas) : source_(source), cache_(schemas) {}

    // To be called once, before take(): as read_file_head(), followed by Visitor::begin(). False
    // when the file has failed; it holds no chunks then.
    bool open(Visitor *visitor);

    // The next run. False when the file has ended.
    bool take(ChunkRun *run);
    // True when no run follows; a file of whole chunks may tell it by an empty take() only.
    bool has_ended() const { return has_ended_; }

    const vrn_data_file_header_t &header() const { return header_; }

  private:
    std::size_t read_chunks(ChunkRun *run);
    void foresee_schemas(Bytes chunk);

    ByteSource *source_;
    SchemaCache *cache_;
    vrn_data_file_header_t header_{};
    std::shared_ptr<const LoadedSchemas> schemas_;  // foreseen for the next run
    std::size_t num_runs_ = 0;
    bool has_ended_ = true;
};

// Shows the blocks of one run, in order, and its end_fault to the visitor, after the schemas it
// begins with. Rows are cut where their chunk ends. By any thread; the buffer and the visitor are
// borrowed for itself alone.
ChunkRunEnd walk_chunk_run(const ChunkRun &run, SchemaCache *schemas, PageBuffer *buffer,
                           Visitor *visitor);

}  // namespace vrn::scan
