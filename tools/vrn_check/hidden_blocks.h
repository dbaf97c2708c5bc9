// Blocks that stand where a reader sees the rows or the padding of another one.
#pragma once

#include <cstddef>
#include <memory>

#include "data/data_file_header.h"
#include "scan/schemas_in_use.h"
#include "scan/visitor.h"
#include "utils/byte_reader.h"
#include "vrn_check/kept_block.h"
#include "vrn_check/schema_texts.h"

namespace vrn::check {

// A number of rows, a length or a size of chunks that is false takes whole blocks for its own, and
// all else may fit. Each search begins at the first byte of a block, and tells the offset of the
// block that is hidden, or 0.
class HiddenBlocks {
  public:
    explicit HiddenBlocks(SchemaTexts *texts) : texts_(texts), schemas_(nullptr, &nobody_) {}

    // What is hidden has the times that the header tells of.
    void begin(const vrn_data_file_header_t &header);
    void use(const std::shared_ptr<const scan::LoadedSchemas> &schemas) {
        schemas_.resume(schemas);
    }

    // In the `size` bytes that the first block of `run` claims.
    std::size_t in_block(Bytes run, std::size_t size) const;
    // In what follows the `size` bytes of the one block of a chunk. What an earlier user of the
    // memory left there is older than the block, whose time is `time`.
    std::size_t after_block(Bytes chunk, std::size_t size, std::uint64_t time) const;
    // After the padding of a chunk that begins with blocks of metrics.
    std::size_t after_metrics(Bytes chunk) const;
    // In the stream of a page.
    std::size_t in_page(Bytes page) const;

  private:
    SchemaTexts *texts_;
    scan::Visitor nobody_;
    scan::SchemasInUse schemas_;
    TimeSpan times_;
};

}  // namespace vrn::check
