// The visitor that keeps each whole block, wherever it stands.
#pragma once

#include <optional>
#include <string>

#include "data/data_file_header.h"
#include "scan/page_buffer.h"
#include "scan/schemas_in_use.h"
#include "scan/visitor.h"
#include "utils/log_capture.h"
#include "vrn_check/block_finder.h"
#include "vrn_check/kept_block.h"
#include "vrn_check/schema_texts.h"

namespace vrn::check {

// The chunks of a file, as far as they can be trusted.
struct Grid {
    std::uint64_t begin = 0;
    std::uint32_t chunk_size = 0;  // 0: none is known
    // Chunks and pages of schemas that are named, but missing, are kept as they stand.
    bool has_unread = false;
};

class BlockStream final : public scan::Visitor {
  public:
    // Borrows all of them. Without a `page` there are no pages: the bytes are those of one.
    BlockStream(scan::SchemasInUse *schemas, SchemaTexts *texts, scan::PageBuffer *page,
                const KeptBlocks *kept)
        : schemas_(schemas), texts_(texts), page_(page), kept_(*kept) {}

    // To be called once. Of `bytes`, scan::slack_size more can be read.
    void walk(Bytes bytes, std::size_t begin, const Grid &grid);

    // Of the blocks that were kept.
    const TimeSpan &times() const { return times_; }
    // True when some were kept whose times can't be read.
    bool kept_unread() const { return kept_unread_; }

    scan::PageUse page(const scan::CompressedPage & /*page*/) override {
        return scan::PageUse::payload;
    }
    scan::Next payload(const scan::CompressedPage &page, Bytes bytes) override;
    scan::Next events(const scan::EventBatch &batch) override;
    scan::Next counters(const scan::CountersBlock &block) override;
    scan::Next metrics(const scan::PlainBlock &block) override;
    scan::Next blob(const scan::PlainBlock &block) override;
    scan::Next fault(const scan::Fault &fault) override;

  private:
    std::size_t next_start(std::size_t from);
    std::size_t next_unread(std::size_t from);
    bool is_unread(Bytes block) const;
    void keep_unread(std::size_t offset);
    std::size_t find_after_gap(std::size_t from, std::size_t none);
    bool lies_in_page(std::size_t page, std::size_t at) const;
    std::size_t first_start_after_padding(std::size_t from);
    std::size_t next_chunk(std::size_t from) const;
    void step(std::size_t offset);
    void take_schemas(std::size_t offset);
    std::size_t find_inside(std::size_t from, std::size_t end, bool is_sound);
    std::size_t find_page_inside(std::size_t from, std::size_t end);
    void keep_events(const scan::EventBatch &batch, std::size_t offset, std::size_t count);
    void mend_page(const scan::Fault &fault);
    void keep(ChunkKind kind, std::size_t offset, std::size_t size);
    void keep(const KeptBlock &block, std::size_t size);
    void close_gap(std::size_t offset);

    scan::SchemasInUse *schemas_;
    SchemaTexts *texts_;
    scan::PageBuffer *page_;
    const KeptBlocks &kept_;
    Bytes bytes_;
    Grid grid_;
    std::optional<BlockFinder> finder_;
    std::size_t unread_ = 0;    // a place of the grid, which only moves on
    std::size_t resume_ = 0;    // where the search for the next block begins
    std::size_t kept_end_ = 0;  // up to here all bytes were kept or told of
    bool is_after_single_ = false;
    std::uint64_t single_time_ = 0;  // of that block
    bool kept_unread_ = false;
    std::string reason_;  // why what lies after `kept_end_` isn't kept
    TimeSpan times_;
    LogCapture log_;
};

}  // namespace vrn::check
