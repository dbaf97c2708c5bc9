#include "scan/chunk_feed.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "data/block.h"
#include "scan/block_walk.h"
#include "scan/chunk_walk.h"

namespace vrn::scan {

namespace {

Fault file_fault(FaultKind kind, std::uint64_t offset, const char *reason) {
    return make_fault(kind, {.chunk = offset, .block = offset}, {}, 0, "%s", reason);
}

// Why no bytes follow those of the run; empty when the file just ends, or goes on.
std::optional<Fault> end_fault_of(const ByteSource &source) {
    switch (source.state()) {
        case ByteSource::State::failed:
            return file_fault(FaultKind::read_failed, source.position(), source.error_text());
        case ByteSource::State::cut_short:
            return file_fault(FaultKind::stream_cut, source.position(),
                              "The gzip stream has no end");
        default:
            return std::nullopt;
    }
}

}  // namespace

bool ChunkRun::reserve(std::size_t size) {
    bytes = {};
    if (room_ && size <= size_) return true;
    // Freed first: a run never takes memory twice.
    room_.reset();
    room_.reset(static_cast<std::uint8_t *>(std::malloc(size + slack_size)));
    size_ = size;
    return room_ != nullptr;
}

bool ChunkFeed::open(Visitor *visitor) {
    SchemasInUse schemas(cache_, visitor);
    if (!read_file_head(source_, &schemas, visitor, &header_)) return false;
    schemas_ = schemas.current();
    has_ended_ = !visitor->begin();
    return true;
}

bool ChunkFeed::take(ChunkRun *run) {
    if (has_ended_) return false;
    run->index = num_runs_++;
    run->offset = source_->position();
    run->chunk_size = header_.block_size;
    run->schemas = schemas_;
    run->end_fault.reset();
    const std::size_t size = read_chunks(run);
    // A file of whole chunks ends with an empty run, which needn't be shown.
    return size > 0 || run->end_fault;
}

std::size_t ChunkFeed::read_chunks(ChunkRun *run) {
    const std::size_t chunk_size = header_.block_size;
    const std::size_t room = std::max<std::size_t>(ChunkRun::run_size / chunk_size, 1) * chunk_size;
    if (!run->reserve(room)) {
        has_ended_ = true;
        run->end_fault = file_fault(FaultKind::no_memory, run->offset, std::strerror(errno));
        return 0;
    }
    const std::size_t size = source_->read(run->room(), room);
    std::memset(run->room() + size, 0, slack_size);
    run->bytes = {run->room(), size};
    has_ended_ = source_->state() != ByteSource::State::open;
    run->end_fault = end_fault_of(*source_);
    for (Bytes rest = run->bytes; !rest.empty();) {
        const Bytes chunk = rest.first(std::min(rest.size(), chunk_size));
        foresee_schemas(chunk);
        rest = rest.subspan(chunk.size());
    }
    return size;
}

void ChunkFeed::foresee_schemas(Bytes chunk) {
    if (!schemas_ || chunk.size() < VRN_SCHEMAS_BLOCK_MIN_BYTES) return;
    if (vrn_block_type_of(chunk.data()) != VRN_SCHEMAS_BLOCK) return;
    const auto block = load_le<vrn_schemas_block_t>(chunk.data());
    if (block.num_schema_ids > VRN_SCHEMAS_BLOCK_MAX_IDS) return;
    vrn_schema_id_t ids[VRN_SCHEMAS_BLOCK_MAX_IDS];
    std::memcpy(ids, chunk.data() + sizeof block, sizeof ids);
    const SchemaIds named = make_schema_ids(ids, block.num_schema_ids, schemas_->ids.counters);
    if (!(named == schemas_->ids)) schemas_ = cache_->get(named);
}

ChunkRunEnd walk_chunk_run(const ChunkRun &run, SchemaCache *schemas, PageBuffer *buffer,
                           Visitor *visitor) {
    SchemasInUse in_use(schemas, visitor);
    in_use.resume(run.schemas);
    ChunkWalk walk(&in_use, buffer, visitor);
    bool goes_on = true;
    for (std::size_t offset = 0; goes_on && offset < run.bytes.size(); offset += run.chunk_size) {
        const Bytes rest = run.bytes.subspan(offset);
        const Bytes chunk = rest.first(std::min<std::size_t>(rest.size(), run.chunk_size));
        goes_on = chunk.size() < VRN_MAGIC_SIZE
                      ? accepts_fault(FaultKind::tail_short, run.offset + offset,
                                      "Too few bytes for a block", visitor)
                      : walk.walk({chunk, chunk, run.offset + offset});
    }
    if (goes_on && run.end_fault) goes_on = visitor->fault(*run.end_fault) != Next::nothing;
    return {goes_on ? Next::block : Next::nothing, in_use.current(), in_use.has_used_first()};
}

}  // namespace vrn::scan
