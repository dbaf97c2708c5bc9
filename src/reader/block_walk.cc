#include "reader/block_walk.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "data/block.h"
#include "reader/compressed_page_walk.h"
#include "reader/counters_handler.h"
#include "reader/event_handler.h"
#include "reader/metrics_block_handler.h"
#include "reader/record_text.h"
#include "utils/log.h"

namespace {

// Bytes that classify a block.
constexpr std::size_t magic_size = 4;

bool is_out_of_date_range(const vrn_reader_t *reader) {
    const vrn_data_file_header_t &header = reader->header;
    const std::uint64_t lower = reader->options->timestamp_gt;
    const std::uint64_t upper = reader->options->timestamp_lt;
    // All four at once: only an inverted range skips a file, the rest is filtered block by block.
    return header.first_timestamp < lower && header.last_timestamp < lower &&
           header.first_timestamp > upper && header.last_timestamp > upper;
}

bool fail_read(const vrn_reader_t *reader) {
    VRN_LOG(VRN_LOG_ERROR, "Failed to read data file %s: %s", reader->file_name,
            reader->file->error_text());
    return false;
}

bool fail_short(const vrn_reader_t *reader) {
    VRN_LOG(VRN_LOG_ERROR, "No data block header read from the file %s", reader->file_name);
    return false;
}

bool handle_chunk(vrn_reader_t *reader, const void *chunk, std::size_t size) {
    if (vrn_block_type_of(chunk) == VRN_PAGE_BLOCK)
        return vrn_reader_walk_compressed_pages(reader, chunk, size);
    return vrn_reader_handle_block(reader, chunk, size, false);
}

// There is no type system when a schemas block could not be loaded.
bool has_counters(const vrn_reader_t *reader) {
    const vrn_counters_schema_t *schema =
        reader->type_system ? reader->type_system->counters_schema : nullptr;
    return schema && schema->num_groups > 0;
}

bool has_events(const vrn_reader_t *reader) {
    return reader->type_system && reader->type_system->num_schemas > 0;
}

bool handle_counters(vrn_reader_t *reader, const void *block) {
    if (!has_counters(reader)) return true;
    const bool done = vrn_reader_handle_counters_block(reader, block);
    ++reader->records_out;  // also when the block was left out by time
    return done;
}

bool handle_metrics(vrn_reader_t *reader, const void *block, std::size_t size) {
    const bool done = vrn_reader_handle_metrics_block(reader, block, size);
    ++reader->records_out;
    return done;
}

bool refuse_unknown(const void *block, vrn_block_type_t kind, bool in_compressed) {
    const char *magic = static_cast<const char *>(block);
    VRN_LOG(VRN_LOG_ERROR, "Reached unknown block type %d '%s'. Magic value '%.4s'",
            static_cast<int>(kind), in_compressed ? "in compressed data block" : "", magic);
    return false;
}

// What came before a gzip stream's fault is walked before the fault is told. What came of a plain
// file's chunk before a failed read is not.
bool end_failed_file(vrn_reader_t *reader, const void *chunk, std::size_t size) {
    if (reader->file->is_compressed() && size >= magic_size) handle_chunk(reader, chunk, size);
    return fail_read(reader);
}

bool read_chunks(vrn_reader_t *reader, void *chunk) {
    const std::uint32_t block_size = reader->header.block_size;
    for (;;) {
        const std::size_t size = reader->file->read(chunk, block_size);
        const vrn::ByteSource::State state = reader->file->state();
        reader->window_end = static_cast<const std::uint8_t *>(chunk) + block_size;
        if (state == vrn::ByteSource::State::failed) return end_failed_file(reader, chunk, size);
        if (state == vrn::ByteSource::State::cut_short)
            VRN_LOG(VRN_LOG_WARNING, "Data file %s is cut short: its gzip stream has no end",
                    reader->file_name);
        if (size == 0) return true;
        if (size < magic_size) return fail_short(reader);
        if (!handle_chunk(reader, chunk, size)) return false;
        if (state != vrn::ByteSource::State::open) return true;
    }
}

}  // namespace

bool vrn_reader_read_blocks(vrn_reader_t *reader) {
    if (is_out_of_date_range(reader)) {
        VRN_LOG(VRN_LOG_DEBUG, "File content is out of date range");
        return true;
    }
    const std::uint32_t block_size = reader->header.block_size;
    // Not cleared between reads: rows of a short last chunk go on in the bytes of the one before.
    const vrn::CPtr<void, std::free> chunk(std::calloc(1, block_size + VRN_READER_SLACK));
    if (!chunk) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate data block of size %u: %s", block_size,
                std::strerror(errno));
        return false;
    }
    const bool done = read_chunks(reader, chunk.get());
    vrn_reader_flush_text(reader);
    return done;
}

bool vrn_reader_handle_block(vrn_reader_t *reader, const void *block, std::size_t size,
                             bool in_compressed) {
    const vrn_block_type_t kind = vrn_block_type_of(block);
    switch (kind) {
        case VRN_COUNTERS_BLOCK:
            return handle_counters(reader, block);
        case VRN_EVENTS_BLOCK:
        case VRN_SCHEMAS_BLOCK:
            return !has_events(reader) || vrn_reader_walk_event_blocks(reader, block, size);
        case VRN_CNTX_BLOCK:
            return handle_metrics(reader, block, size);
        default:
            return refuse_unknown(block, kind, in_compressed);
    }
}
