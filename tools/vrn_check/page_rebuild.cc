#include "vrn_check/page_rebuild.h"

#include <cstdlib>
#include <iterator>
#include <new>

#include "data/page_encoder.h"
#include "scan/chunk_walk.h"
#include "utils/c_ptr.h"
#include "vrn_check/metrics_repair.h"

namespace vrn::check {
namespace {

using scan::Next;

// Counts what a strict reader sees.
class BlockCount final : public scan::Visitor {
  public:
    std::size_t count = 0;
    bool is_sound = true;

    Next events(const scan::EventBatch &batch) override {
        return add(batch.count == batch.header.num_events);
    }
    void schemas_block(const scan::PlainBlock & /*block*/) override { ++count; }
    Next counters(const scan::CountersBlock &block) override {
        return add(block.held == block.schema->size);
    }
    Next metrics(const scan::PlainBlock &block) override {
        for (Bytes rest = block.bytes; !rest.empty();) {
            const RepairedMetrics first = repair_metrics(rest);
            add(first.is_as_found);
            rest = rest.subspan(first.size);
        }
        return Next::block;
    }
    Next blob(const scan::PlainBlock & /*block*/) override { return add(true); }
    void page_tail(const scan::PlainBlock &rest) override { is_sound &= rest.bytes.empty(); }
    Next fault(const scan::Fault & /*fault*/) override { return add(false); }

  private:
    Next add(bool holds) {
        ++count;
        is_sound &= holds;
        return holds ? Next::block : Next::nothing;
    }
};

std::string encode(const scan::CompressedPage &page, const std::vector<OwnedBlock> &blocks) {
    std::string payload;
    for (const OwnedBlock &block : blocks) {
        payload += block.bytes;
        // Schemas blocks need more room than they have bytes.
        payload.resize(payload.size() + block.block.room - block.bytes.size());
    }
    const vrn_page_info_t info = {page.source(), page.fields.first_timestamp,
                                  page.fields.last_timestamp, page.fields.encoding};
    std::size_t size = 0;
    const CPtr<void, std::free> block(
        vrn_compressed_page_encode(&info, payload.data(), payload.size(), &size));
    if (!block) throw std::bad_alloc();
    return {static_cast<const char *>(block.get()), size};
}

}  // namespace

bool reads_as(Bytes page, std::size_t num_blocks, scan::SchemasInUse *schemas,
              scan::PageBuffer *buffer) {
    BlockCount seen;
    scan::ChunkWalk(schemas, buffer, &seen).walk({page, page, 0});
    return seen.is_sound && seen.count == num_blocks;
}

void PageRebuild::add(const KeptBlock &block) {
    // A page has blocks of one kind, and a blob takes all of it.
    const bool joins =
        !parts_.empty() && parts_.back().kind == block.kind && block.kind != ChunkKind::blob;
    if (!joins) parts_.push_back({block.kind, {}});
    is_as_found_ &= block.is_as_found && parts_.size() == 1;
    parts_.back().blocks.push_back(
        {block, {reinterpret_cast<const char *>(block.bytes.data()), block.bytes.size()}});
}

std::vector<OwnedBlock> PageRebuild::blocks(const scan::CompressedPage &page,
                                            scan::SchemasInUse *schemas, scan::PageBuffer *buffer) {
    std::vector<OwnedBlock> blocks;
    for (Part &part : parts_) {
        const std::string whole = encode(page, part.blocks);
        // Decoders may look that far past the end.
        const std::string with_slack = whole + std::string(scan::slack_size, '\0');
        if (reads_as(bytes_of(with_slack).first(whole.size()), part.blocks.size(), schemas, buffer))
            blocks.push_back({{.kind = ChunkKind::pages,
                               .bytes = {},
                               .offset = 0,
                               .room = whole.size(),
                               .is_as_found = false},
                              whole});
        else
            // What doesn't read back as a page goes into chunks as it is.
            std::ranges::move(part.blocks, std::back_inserter(blocks));
    }
    return blocks;
}

}  // namespace vrn::check
