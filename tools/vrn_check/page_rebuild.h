// A compressed page made anew of the blocks that are left of one.
#pragma once

#include <string>
#include <vector>

#include "scan/page_buffer.h"
#include "scan/schemas_in_use.h"
#include "scan/visitor.h"
#include "vrn_check/kept_block.h"

namespace vrn::check {

// A block whose bytes are its own.
struct OwnedBlock {
    KeptBlock block;
    std::string bytes;
};

class PageRebuild {
  public:
    void add(const KeptBlock &block);

    // True when one page of the blocks as they were found holds them all.
    bool is_as_found() const { return is_as_found_; }
    // The same blocks in pages under the names and times of `page`: as many as there are kinds one
    // after the other. What can't be read from a page comes without one. To be called once.
    std::vector<OwnedBlock> blocks(const scan::CompressedPage &page, scan::SchemasInUse *schemas,
                                   scan::PageBuffer *buffer);

  private:
    struct Part {
        ChunkKind kind;
        std::vector<OwnedBlock> blocks;
    };

    std::vector<Part> parts_;
    bool is_as_found_ = true;
};

// True when a reader finds `num_blocks` blocks in the page and nothing else.
bool reads_as(Bytes page, std::size_t num_blocks, scan::SchemasInUse *schemas,
              scan::PageBuffer *buffer);

}  // namespace vrn::check
