// The walk over one chunk of a data file: one block, a run of event blocks, or a run of pages.
#pragma once

#include "scan/block_walk.h"
#include "scan/page_buffer.h"

namespace vrn::scan {

struct Chunk {
    Bytes bytes;           // what the file holds of it
    Bytes reach;           // the whole buffer, whose tail may be of an earlier chunk
    std::uint64_t offset;  // in the file, decompressed
};

class ChunkWalk {
  public:
    // Borrows all three.
    ChunkWalk(SchemasInUse *schemas, PageBuffer *buffer, Visitor *visitor)
        : blocks_(schemas, visitor), buffer_(buffer), visitor_(visitor) {}

    // Of a chunk of 4 bytes or more. False when the visitor ends the file.
    bool walk(const Chunk &chunk);

  private:
    Next walk_all(const Chunk &chunk);
    Next walk_pages(const Chunk &chunk, std::size_t offset);
    Next end_pages(const Chunk &chunk, std::size_t offset, std::size_t *next_page);
    Next report_cut_page(const Chunk &chunk, std::size_t offset, std::size_t *next_page);
    Next walk_page(const CompressedPage &page);
    Next walk_payload(const CompressedPage &page, Bytes payload);

    BlockWalk blocks_;
    PageBuffer *buffer_;
    Visitor *visitor_;
};

}  // namespace vrn::scan
