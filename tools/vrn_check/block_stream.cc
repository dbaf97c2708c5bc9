#include "vrn_check/block_stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "data/compressed_page.h"
#include "data/magic.h"
#include "scan/chunk_walk.h"
#include "scan/missing_rows.h"
#include "vrn_check/metrics_repair.h"
#include "vrn_check/page_rebuild.h"
#include "vrn_check/page_trailer.h"

namespace vrn::check {
namespace {

using scan::Next;

// One block was looked at; the next one is looked for anew.
constexpr Next one_block = Next::nothing;

constexpr int max_ends = 16;

constexpr TimeSpan any_time = {.first = 0, .last = std::numeric_limits<std::uint64_t>::max()};

struct SchemasBlock {
    vrn_schemas_block_t header;
    vrn_schema_id_t ids[VRN_SCHEMAS_BLOCK_MAX_IDS];
};
static_assert(sizeof(SchemasBlock) <= VRN_SCHEMAS_BLOCK_MIN_BYTES);

constexpr std::size_t size_with_ids(std::size_t count) {
    return sizeof(vrn_schemas_block_t) + count * sizeof(vrn_schema_id_t);
}

bool names_counters(const scan::SchemasInUse &schemas) {
    const vrn_schema_id_t &id = schemas.current()->ids.counters;
    return !vrn_schema_id_is_zero(&id) && !vrn_schema_id_is_blob(&id);
}

bool is_all_zero_row(const scan::EventBatch &batch, std::size_t index) {
    return scan::is_all_zero(batch.rows.subspan(index * batch.type->size, batch.type->size));
}

}  // namespace

void BlockStream::walk(Bytes bytes, std::size_t begin, const Grid &grid) {
    bytes_ = bytes;
    grid_ = grid;
    unread_ = grid.begin;
    finder_.emplace(bytes, schemas_, texts_);
    kept_end_ = begin;
    // At least a byte further each time, whatever a handler makes of the bytes: no input holds us
    // up.
    for (std::size_t at = next_start(begin); at < bytes.size();
         at = next_start(std::max(resume_, at + 1)))
        step(at);
    close_gap(bytes.size());
}

std::size_t BlockStream::next_start(std::size_t from) {
    const std::size_t limit = next_unread(from);
    const std::size_t set = finder_->skip_zeros(std::min(from, bytes_.size()));
    if (set >= limit || finder_->is_start(set)) return std::min(set, limit);
    return find_after_gap(is_after_single_ ? first_start_after_padding(from) : set, limit);
}

// Nothing but the grid tells where they begin.
std::size_t BlockStream::next_unread(std::size_t from) {
    if (!grid_.has_unread) return bytes_.size();
    while (unread_ < bytes_.size() && (unread_ < from || !is_unread(bytes_.subspan(unread_))))
        unread_ += grid_.chunk_size;
    return std::min(unread_, bytes_.size());
}

// True for a block of a schema that is named, but missing.
bool BlockStream::is_unread(Bytes block) const {
    if (!grid_.has_unread || block.size() < sizeof(vrn_event_header_t)) return false;
    const auto *magic = reinterpret_cast<const char *>(block.data());
    if (vrn_magic_matches(magic, 'D'))
        return schemas_->lacks_counters() && names_counters(*schemas_);
    if (vrn_magic_matches(magic, 'S')) return finder_->names_missing(block);
    const std::size_t index = load_le<vrn_event_header_t>(block.data()).schema_index;
    const vrn_type_system_t *system = schemas_->type_system();
    // What didn't load has left its place empty.
    return vrn_magic_matches(magic, 'E') && system && index < system->num_schemas &&
           system->schemas[index]->num_types == 0;
}

void BlockStream::keep_unread(std::size_t offset) {
    kept_unread_ = true;
    // With a chunk to itself, as it is all of one; what may be padding goes with it.
    keep(ChunkKind::counters, offset,
         std::min<std::size_t>(bytes_.size() - offset, grid_.chunk_size));
}

// What looks like a block in the stream of a damaged page is none. `none` when there is no block
// before it.
std::size_t BlockStream::find_after_gap(std::size_t from, std::size_t none) {
    std::size_t cut_page = none;  // one without an end, after which no padding came
    std::size_t at = finder_->find(from, none);
    while (page_ && at < none) {
        for (std::size_t page = finder_->find_page(from); page < at;
             page = finder_->find_page(from)) {
            cut_page = page;
            from = page + 1;
        }
        if (cut_page != none && finder_->has_padding(from, at)) cut_page = none;
        const std::size_t end = finder_->end_of_cut_page(at);
        if (end == 0 && (cut_page == none || !lies_in_page(cut_page, at))) break;
        from = std::max(end, at + 1);
        at = finder_->find(from, none);
    }
    return at;
}

// True when what looks like a block at `at` lies in the bytes that the page claims. Unlike gzip,
// snappy keeps some bytes as they are, but hardly ends where a block does.
bool BlockStream::lies_in_page(std::size_t page, std::size_t at) const {
    const auto kind = finder_->kind_at(at);
    if (kind == VRN_PAGE_BLOCK || next_chunk(at) == at) return false;
    const auto fields = vrn_compressed_page_header_load(&bytes_[page + VRN_MAGIC_SIZE]);
    if (fields.encoding == VRN_ENCODING_GZIP) return false;
    if (at - page > std::size_t{fields.header_size} + fields.data_size) return false;
    return !finder_->leads_on(at);
}

// A chunk of one block ends with padding that may be anything, even blocks of an earlier time: if
// the grid goes on, they are passed over. Where it is false, later blocks stand there.
std::size_t BlockStream::first_start_after_padding(std::size_t from) {
    const std::size_t chunk = next_chunk(from);
    const TimeSpan later = {.first = single_time_, .last = any_time.last};
    if (single_time_ != 0) {
        const std::size_t at = finder_->find_of_time(from, chunk, later);
        if (at < chunk) return at;
    }
    if (!finder_->fits(chunk, later) || finder_->end_of_cut_page(chunk) != 0) return from;
    kept_end_ = std::max(kept_end_, chunk);
    return chunk;
}

// The first place of the grid from `from` on; the end of the bytes when there is none.
std::size_t BlockStream::next_chunk(std::size_t from) const {
    if (grid_.chunk_size == 0 || from <= grid_.begin) return bytes_.size();
    const std::size_t used = (from - grid_.begin) % grid_.chunk_size;
    return used == 0 ? from : std::min(bytes_.size(), from + grid_.chunk_size - used);
}

void BlockStream::step(std::size_t offset) {
    // Whoever keeps something moves it on.
    resume_ = offset;
    const Bytes rest = bytes_.subspan(offset);
    if (is_unread(rest)) {
        keep_unread(offset);
    } else if (vrn_block_type_of(rest.data()) == VRN_SCHEMAS_BLOCK) {
        take_schemas(offset);
    } else if (page_) {
        scan::ChunkWalk(schemas_, page_, this).walk({rest, rest, offset});
    } else {
        const scan::Place place = {.chunk = offset, .block = offset};
        scan::BlockWalk(schemas_, this).walk({rest, rest, place});
    }
    static_cast<void>(log_.take());  // of decoders, which the reasons tell better
}

// Made anew where its size or its number of ids don't fit what it holds, or an id was mended.
void BlockStream::take_schemas(std::size_t offset) {
    auto block = load_le<SchemasBlock>(&bytes_[offset]);
    const SchemaIdList &known = texts_->known().events;
    const std::size_t num_claimed = block.header.num_schema_ids;
    std::size_t count = num_claimed;
    for (std::size_t i = 0; i < VRN_SCHEMAS_BLOCK_MAX_IDS; ++i) {
        const vrn_schema_id_t had = block.ids[i], id = known.mended(had);
        // What lies after the ids may be another block.
        block.ids[i] = i < num_claimed || known.has(id) ? id : vrn_schema_id_t{};
        // The count may be damaged, too: a known id counts even beyond it.
        if (known.has(id)) count = std::max(count, i + 1);
        if (i < count) tell_replaced(had, block.ids[i], offset + size_with_ids(i), kept_.leave_out);
    }
    schemas_->use(block.ids, count);
    const std::size_t ids_end = size_with_ids(count);
    const std::size_t claimed = offset + block.header.size;
    const std::size_t inside =
        find_inside(offset + VRN_MAGIC_SIZE, std::max(offset + ids_end, claimed),
                    block.header.size >= ids_end && finder_->is_end(claimed));
    const bool holds = inside >= offset + ids_end && finder_->is_end(inside);
    const std::size_t size = holds ? inside - offset : std::min(ids_end, inside - offset);
    block.header.size = static_cast<std::uint16_t>(holds ? size : VRN_SCHEMAS_BLOCK_MIN_BYTES);
    block.header.num_schema_ids = static_cast<std::uint16_t>(count);
    std::string text(reinterpret_cast<const char *>(&bytes_[offset]), size);
    text.resize(block.header.size, '\0');
    std::memcpy(text.data(), &block, ids_end);
    keep({.kind = ChunkKind::events,
          .bytes = bytes_of(text),
          .offset = offset,
          // A reader wants so many bytes even of a shorter one.
          .room = std::max(text.size(), VRN_SCHEMAS_BLOCK_MIN_BYTES),
          .is_as_found = std::memcmp(text.data(), &bytes_[offset], size) == 0},
         size);
}

Next BlockStream::events(const scan::EventBatch &batch) {
    const std::size_t offset = batch.place().block;
    const std::size_t rows = offset + sizeof batch.header;
    const std::size_t end = rows + batch.rows.size();
    const bool is_cut = batch.count < batch.header.num_events;
    std::size_t count = batch.count;
    bool is_sound = !is_cut && finder_->is_end(end);
    // Rows that are left out make another end for those before them.
    for (int found = 0; found < max_ends; ++found) {
        const std::size_t rows_end = rows + count * batch.type->size;
        const std::size_t inside = find_inside(offset + VRN_MAGIC_SIZE, rows_end, is_sound);
        if (inside == rows_end) break;
        if (inside < rows) {
            reason_ = "A block begins within the header of a block";
            resume_ = inside;
            return one_block;
        }
        count = (inside - rows) / batch.type->size;
        const bool has_gap = rows + count * batch.type->size < inside;
        // Where rows don't end at the next block, zeros before it are padding rather than rows.
        while (has_gap && count > 0 && is_all_zero_row(batch, count - 1)) --count;
        is_sound = true;
    }
    // If no row is kept, blocks are looked for right after the header.
    resume_ = rows;
    if (count > 0 || batch.header.num_events == 0) keep_events(batch, offset, count);
    scan::EventBatch kept = batch;
    kept.count = count;
    if (!scan::is_whole(kept)) reason_ = scan::missing_rows(kept);
    return one_block;
}

// A block that claims too many rows has taken others for them. Where its end is sound, rows that
// look like a block must lead on to others as well; `end` when there is no block inside. What comes
// after the end may be others in the output, so that blocks need lead no further.
std::size_t BlockStream::find_inside(std::size_t from, std::size_t end, bool is_sound) {
    const auto holds = [&](std::size_t at) {
        return !is_sound || finder_->fits(at, any_time) || finder_->leads_to(at, end);
    };
    // Each one that is found is an end for those before it. Few are enough but for hostile rows.
    for (int found = 0; found < max_ends; ++found) {
        std::size_t at = finder_->find(from, end);
        while (at < end && !holds(at)) at = finder_->find(at + 1, end);
        if (at == end) break;
        end = at;
    }
    return end;
}

// Streams may hold the bytes of other blocks as they are; `end` when there is no page inside.
std::size_t BlockStream::find_page_inside(std::size_t from, std::size_t end) {
    std::size_t at = finder_->find(from, end);
    while (at < end && finder_->kind_at(at) != VRN_PAGE_BLOCK) at = finder_->find(at + 1, end);
    return at;
}

void BlockStream::keep_events(const scan::EventBatch &batch, std::size_t offset,
                              std::size_t count) {
    const std::size_t size = sizeof batch.header + count * batch.type->size;
    times_.add(batch.header.timestamp);
    if (count == batch.header.num_events) return keep(ChunkKind::events, offset, size);
    std::string block(reinterpret_cast<const char *>(&bytes_[offset]), size);
    block[offsetof(vrn_event_header_t, num_events)] = static_cast<char>(count);
    keep({.kind = ChunkKind::events,
          .bytes = bytes_of(block),
          .offset = offset,
          .room = size,
          .is_as_found = false},
         size);
}

Next BlockStream::counters(const scan::CountersBlock &block) {
    const std::size_t offset = block.place.block;
    if (!scan::is_whole(block)) {
        reason_ = scan::missing_rows(block);
        return one_block;
    }
    const std::size_t end = offset + sizeof block.header + block.schema->size;
    // Where bytes are lost in a row, it takes those of the next block.
    resume_ = find_inside(offset + VRN_MAGIC_SIZE, end, finder_->is_end(end));
    if (resume_ < end) {
        reason_ = "A block begins within a row";
        return one_block;
    }
    times_.add(block.header.timestamp);
    single_time_ = block.header.timestamp;
    keep(ChunkKind::counters, offset, end - offset);
    return one_block;
}

Next BlockStream::metrics(const scan::PlainBlock &block) {
    const std::size_t offset = block.place.block;
    const std::size_t whole = whole_metrics_size(block.bytes);
    // What no size tells, or a false one, ends where the next block begins.
    const std::size_t end = find_inside(offset + VRN_MAGIC_SIZE,
                                        whole != 0 ? offset + whole : bytes_.size(), whole != 0);
    const RepairedMetrics repaired = repair_metrics(bytes_.subspan(offset, end - offset));
    if (repaired.block.empty()) {
        reason_ = "A metrics block has no record that can be read";
        resume_ = end;
        return one_block;
    }
    if (!repaired.is_as_found) reason_ = "Records of a metrics block can't be read";
    const std::size_t lost = repaired.size - std::min(repaired.block.size(), repaired.size);
    if (lost > 0)
        kept_.leave_out({.offset = offset, .lost = lost, .kind = left_out, .reason = reason_});
    times_.add(repaired.times);
    single_time_ = repaired.times.last;
    keep({.kind = ChunkKind::metrics,
          .bytes = bytes_of(repaired.block),
          .offset = offset,
          .room = repaired.block.size(),
          .is_as_found = repaired.is_as_found},
         repaired.size);
    return one_block;
}

// Its bytes may be anything, even blocks: only where it leaves its chunk they may be of others.
Next BlockStream::blob(const scan::PlainBlock &block) {
    const std::size_t offset = block.place.block;
    const auto header = load_le<vrn_blob_block_t>(block.bytes.data());
    const std::size_t size = sizeof header + header.data_size;
    if (offset + size > next_chunk(offset + 1)) {
        resume_ = find_inside(offset + VRN_MAGIC_SIZE, offset + size, true);
        reason_ = "A blob goes on into the next chunk";
        if (resume_ < offset + size) return one_block;
    }
    times_.add(header.timestamp);
    single_time_ = header.timestamp;
    keep(ChunkKind::blob, offset, size);
    return one_block;
}

// Kept as it stands when all in it is sound, and otherwise made anew of what is.
Next BlockStream::payload(const scan::CompressedPage &page, Bytes bytes) {
    const std::size_t offset = page.place.block;
    const std::size_t end = offset + page.block.size();
    // A page that claims too many bytes may have taken another for its own.
    resume_ = find_page_inside(offset + VRN_MAGIC_SIZE, end);
    if (resume_ < end) {
        reason_ = "A page begins within a page";
        return one_block;
    }
    if (is_unread(bytes)) {
        kept_unread_ = true;
        keep(ChunkKind::pages, offset, page.block.size());
        return one_block;
    }
    PageRebuild rebuild;
    std::size_t num_blocks = 0;
    std::vector<FileFault> faults;
    const KeptBlocks look = {.take =
                                 [&](const KeptBlock &block) {
                                     ++num_blocks;
                                     rebuild.add(block);
                                 },
                             .leave_out =
                                 [&](FileFault fault) {
                                     fault.in_page = fault.offset;
                                     fault.offset = offset;
                                     faults.push_back(std::move(fault));
                                 }};
    // No page buffer: pages hold no pages.
    BlockStream blocks(schemas_, texts_, nullptr, &look);
    blocks.walk(bytes, 0, {});
    times_.add(blocks.times());
    const bool is_whole = faults.empty() && page.decoded_size() == bytes.size();
    // A reader must find the same blocks, or it would trip over what we passed over.
    if (is_whole && rebuild.is_as_found() && reads_as(page.block, num_blocks, schemas_, page_)) {
        keep({.kind = ChunkKind::pages,
              .bytes = page.block,
              .offset = offset,
              .room = page.block.size(),
              .is_as_found = true},
             page.block.size());
    } else {
        for (OwnedBlock &part : rebuild.blocks(page, schemas_, page_)) {
            part.block.bytes = bytes_of(part.bytes);
            part.block.offset = offset;
            keep(part.block, page.block.size());
        }
        for (FileFault &fault : faults) kept_.leave_out(std::move(fault));
        close_gap(offset);
        // What the page lacks has been told.
        kept_end_ = resume_ = end;
    }
    return one_block;
}

Next BlockStream::fault(const scan::Fault &fault) {
    reason_ = fault.reason;
    const bool is_of_page =
        fault.kind == scan::FaultKind::page_damaged || fault.kind == scan::FaultKind::no_memory;
    if (!is_of_page) return one_block;
    const std::size_t offset = fault.place.block;
    const std::size_t end = offset + fault.block.size();
    // Where bytes are lost in a page, it may end with the next one.
    resume_ = find_page_inside(offset + VRN_MAGIC_SIZE, end);
    if (resume_ == end) mend_page(fault);
    return one_block;
}

// A stream that is proven by its checksum may still have a wrong length after that.
void BlockStream::mend_page(const scan::Fault &fault) {
    const auto length = mended_length(fault.block);
    if (!length) return;
    // A copy: the input stays as it is, and decoding needs slack after it.
    std::vector<std::uint8_t> block(fault.block.begin(), fault.block.end());
    block.resize(block.size() + scan::slack_size);
    const Bytes bytes = Bytes(block).first(fault.block.size());
    // The length ends the gzip stream, right before the closing magic.
    std::memcpy(&block[bytes.size() - VRN_MAGIC_SIZE - sizeof *length], &*length, sizeof *length);
    const std::uint8_t *header = bytes.data() + VRN_MAGIC_SIZE;
    const scan::CompressedPage page = {header, vrn_compressed_page_header_load(header), bytes,
                                       fault.place};
    const std::size_t room = vrn_compressed_page_decoded_room(header);
    Bytes payload;
    if (page_->reserve(room) && page_->decode(header, room, &payload)) this->payload(page, payload);
}

void BlockStream::keep(ChunkKind kind, std::size_t offset, std::size_t size) {
    keep({.kind = kind,
          .bytes = bytes_.subspan(offset, size),
          .offset = offset,
          .room = size,
          .is_as_found = true},
         size);
}

// `size` bytes of the input have gone into the block.
void BlockStream::keep(const KeptBlock &block, std::size_t size) {
    KeptBlock kept = block;
    // Before close_gap(), which moves the end.
    kept.follows_directly = block.offset == kept_end_;
    close_gap(block.offset);
    kept_.take(kept);
    kept_end_ = resume_ = std::max<std::size_t>(kept_end_, block.offset + size);
    is_after_single_ = block.kind != ChunkKind::events && block.kind != ChunkKind::pages;
    reason_.clear();
}

void BlockStream::close_gap(std::size_t offset) {
    std::size_t begin = finder_->skip_zeros(std::min(kept_end_, offset));
    kept_end_ = std::max(kept_end_, offset);
    if (begin >= offset) return;
    Bytes gap = bytes_.subspan(begin, offset - begin);
    // Padding around it isn't lost.
    while (gap.back() == 0) gap = gap.first(gap.size() - 1);
    kept_.leave_out({.offset = begin,
                     .lost = gap.size(),
                     .kind = left_out,
                     .reason = reason_.empty() ? "No block begins here" : reason_});
}

}  // namespace vrn::check
