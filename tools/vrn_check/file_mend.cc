#include "vrn_check/file_mend.h"

#include <algorithm>
#include <cstring>

#include "data/compressed_page.h"
#include "scan/visitor.h"
#include "utils/log_capture.h"
#include "vrn_check/block_stream.h"
#include "vrn_check/salvage_writer.h"

namespace vrn::check {
namespace {

// Bytes of a file that tell which schemas fit.
constexpr std::size_t guess_size = std::size_t{4} << 20;

// Those of the first page, if it is one.
void take_names(const KeptBlock &block, vrn_data_file_header_t *header) {
    if (block.kind != ChunkKind::pages) return;
    vrn_source_t names{};
    vrn_pascal_strings_to_source(block.bytes.data() + VRN_MAGIC_SIZE, &names);
    std::memcpy(header->source_id, names.source, sizeof header->source_id);
    std::memcpy(header->source_tag, names.tag, sizeof header->source_tag);
}

}  // namespace

bool FileMend::run(Bytes bytes, const Descriptor &output) {
    bytes_ = bytes;
    FoundHeader header = find_header(bytes, texts_->known());
    guess_schemas(
        texts_->known(), [this](const FoundHeader &guess) { return misfit(guess); }, &header);
    take_schemas(&header);
    ChunkSurvey survey;
    bool has_blocks = false;
    // Looked through first: the size of chunks must be known before one is written.
    const auto look = [&](const KeptBlock &block) {
        survey.add(block);
        if (!header.is_there && !has_blocks) take_names(block, &header.fields);
        has_blocks = true;
    };
    const TimeSpan times =
        walk(bytes_, header, {.take = look, .leave_out = [](const FileFault &) {}});
    if (!has_blocks && !header.is_there) {
        leave_out_({.offset = 0,
                    .lost = bytes.size(),
                    .kind = left_out,
                    .reason = "Neither a header nor a block was found: nothing is written"});
        return false;
    }
    SalvageWriter writer(output, survey.chunk_size(header.fields.block_size));
    walk(bytes_, header,
         {.take =
              [&](const KeptBlock &block) {
                  if (!writer.add(block))
                      leave_out_({.offset = block.offset,
                                  .lost = block.bytes.size(),
                                  .kind = left_out,
                                  .reason = "There is no room for a block on the grid"});
              },
          .leave_out = leave_out_});
    drop_unknown_ids(texts_->known(), &header);
    tell_ids(header);
    header.fields.first_timestamp = times.last == 0 ? 0 : times.first;
    header.fields.last_timestamp = times.last;
    writer.end(header.fields);
    return true;
}

// A reader passes over schemas blocks, too, when the header names no schema of events.
void FileMend::take_schemas(FoundHeader *header) {
    auto &ids = header->fields.event_schema_ids;
    const auto is_known = [&](const auto &id) {
        return header->keeps(id) || texts_->known().events.has(id);
    };
    const auto take = [&](const KeptBlock &block) {
        if (vrn_block_type_of(block.bytes.data()) != VRN_SCHEMAS_BLOCK) return;
        if (std::ranges::any_of(ids, is_known)) return;
        // It may be shorter than all ids of a header.
        const Bytes named = block.bytes.subspan(sizeof(vrn_schemas_block_t));
        std::memset(ids, 0, sizeof ids);
        std::memcpy(ids, named.data(), std::min(named.size(), sizeof ids));
    };
    // A walk of its own: with the schemas, blocks before theirs are known as well.
    if (std::ranges::none_of(ids, is_known))
        walk(bytes_, *header, {.take = take, .leave_out = [](const FileFault &) {}});
}

// Whoever reads the output by another schema than the input names must know.
void FileMend::tell_ids(const FoundHeader &header) const {
    static constexpr std::size_t first = offsetof(vrn_data_file_header_t, counters_schema_id);
    // A header that isn't there, or is cut off, has none.
    vrn_data_file_header_t had{};
    if (header.is_there) std::memcpy(&had, bytes_.data(), std::min(bytes_.size(), sizeof had));
    for (std::size_t at = first; at < offsetof(vrn_data_file_header_t, byte_order);
         at += sizeof(vrn_schema_id_t))
        tell_replaced(
            load_le<vrn_schema_id_t>(reinterpret_cast<const std::uint8_t *>(&had) + at),
            load_le<vrn_schema_id_t>(reinterpret_cast<const std::uint8_t *>(&header.fields) + at),
            at, leave_out_);
}

Misfit FileMend::misfit(const FoundHeader &header) {
    Misfit misfit;
    FoundHeader guess = header;
    guess.has_own_ids = false;  // a schema that can't be read fits nothing
    // What follows is of the same schemas, mostly.
    walk(bytes_.first(std::min(bytes_.size(), guess_size)), guess,
         {.take = [&](const KeptBlock &block) { misfit.kept += block.bytes.size(); },
          .leave_out = [&](const FileFault &fault) { misfit.left_out += fault.lost; }});
    return misfit;
}

TimeSpan FileMend::walk(Bytes bytes, const FoundHeader &header, const KeptBlocks &kept) {
    LogCapture log;  // the faults tell it better
    scan::Visitor nobody;
    scan::SchemasInUse schemas(texts_->cache(), &nobody);
    schemas.set_counters_schema(header.fields.counters_schema_id);
    schemas.use(header.fields.event_schema_ids, VRN_EVENT_SCHEMA_IDS);
    BlockStream blocks(&schemas, texts_, page_, &kept);
    blocks.walk(bytes, header.end,
                {.begin = sizeof header.fields,
                 .chunk_size = header.is_there ? header.fields.block_size : 0,
                 .has_unread = header.has_own_ids});
    TimeSpan times = blocks.times();
    if (blocks.kept_unread()) {
        times.add(header.fields.first_timestamp);
        times.add(header.fields.last_timestamp);
    }
    return times;
}

}  // namespace vrn::check
