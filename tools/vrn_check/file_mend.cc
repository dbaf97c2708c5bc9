#include "vrn_check/file_mend.h"

#include "scan/visitor.h"
#include "utils/log_capture.h"
#include "vrn_check/block_stream.h"
#include "vrn_check/salvage_writer.h"

namespace vrn::check {

bool FileMend::run(Bytes bytes, const Descriptor &output) {
    bytes_ = bytes;
    FoundHeader header = find_header(bytes, texts_->known());
    ChunkSurvey survey;
    bool has_blocks = false;
    const auto look = [&](const KeptBlock &block) {
        survey.add(block);
        has_blocks = true;
    };
    const TimeSpan times = walk(header, {.take = look, .leave_out = [](const FileFault &) {}});
    if (!has_blocks && !header.is_there) {
        leave_out_({.offset = 0,
                    .lost = bytes.size(),
                    .kind = left_out,
                    .reason = "Neither a header nor a block was found: nothing is written"});
        return false;
    }
    SalvageWriter writer(output, survey.chunk_size(header.fields.block_size));
    walk(header, {.take =
                      [&](const KeptBlock &block) {
                          if (!writer.add(block))
                              leave_out_({.offset = block.offset,
                                          .lost = block.bytes.size(),
                                          .kind = left_out,
                                          .reason = "There is no room for a block on the grid"});
                      },
                  .leave_out = leave_out_});
    header.fields.first_timestamp = times.last == 0 ? 0 : times.first;
    header.fields.last_timestamp = times.last;
    writer.end(header.fields);
    return true;
}

TimeSpan FileMend::walk(const FoundHeader &header, const KeptBlocks &kept) {
    LogCapture log;  // the faults tell it better
    scan::Visitor nobody;
    scan::SchemasInUse schemas(texts_->cache(), &nobody);
    schemas.set_counters_schema(header.fields.counters_schema_id);
    schemas.use(header.fields.event_schema_ids, VRN_EVENT_SCHEMA_IDS);
    BlockStream blocks(&schemas, &texts_->known(), page_, &kept);
    blocks.walk(bytes_, header.end,
                {.begin = sizeof header.fields, .chunk_size = header.fields.block_size});
    return blocks.times();
}

}  // namespace vrn::check
