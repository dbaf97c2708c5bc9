// One road from the bytes of a data file to its records and faults.
#pragma once

#include <memory>

#include "data/data_file_header.h"
#include "scan/byte_source.h"
#include "scan/chunk_walk.h"
#include "scan/file_head.h"
#include "scan/page_buffer.h"
#include "scan/schema_cache.h"
#include "scan/visitor.h"

namespace vrn::scan {

// Reads a file from its header to its end and shows all of it to a visitor. Prints nothing and
// ends no process; what schemas and pages log can be taken by a vrn::LogCapture. Scans in several
// threads may share a SchemaCache and nothing else.
class DataFileScan {
  public:
    // Borrows all three, `visitor` and `buffer` for itself alone. Without schemas, events and
    // counters are passed over.
    DataFileScan(ByteSource *source, SchemaCache *schemas, PageBuffer *buffer, Visitor *visitor)
        : source_(source),
          visitor_(visitor),
          schemas_(schemas, visitor),
          walk_(&schemas_, buffer, visitor) {}

    // To be called once. True when the file was read to its end, whatever faults were passed over.
    // The schemas in use live as long as the scan.
    bool run();

    const vrn_data_file_header_t &header() const { return header_; }

  private:
    bool accepts(FaultKind kind, const char *reason);
    [[nodiscard]] bool walk_chunks();
    bool walk_chunk(std::size_t size);
    bool end_failed(std::size_t size);

    ByteSource *source_;
    Visitor *visitor_;
    SchemasInUse schemas_;
    ChunkWalk walk_;
    vrn_data_file_header_t header_{};
    CPtr<std::uint8_t, std::free> chunk_;
    std::uint64_t offset_ = 0;  // of the chunk in the file
};

// The scan of one file by one thread, all in one call. False also when the file can't be opened,
// after fault `header_cut`.
[[nodiscard]] bool scan_data_file(const char *path, SchemaCache *schemas, Visitor *visitor);

}  // namespace vrn::scan
