#include "scan/data_file_scan.h"

#include <cerrno>
#include <cstring>

namespace vrn::scan {

bool DataFileScan::run() {
    if (!read_file_head(source_, &schemas_, visitor_, &header_)) return false;
    return !visitor_->begin() || walk_chunks();
}

bool DataFileScan::accepts(FaultKind kind, const char *reason) {
    return accepts_fault(kind, offset_, reason, visitor_);
}

bool DataFileScan::walk_chunks() {
    const std::uint32_t chunk_size = header_.block_size;
    // Not cleared between reads: rows of a short last chunk go on in the bytes of the one before.
    chunk_.reset(static_cast<std::uint8_t *>(std::calloc(1, chunk_size + slack_size)));
    if (!chunk_) {
        visitor_->fault(make_fault(FaultKind::no_memory, {}, {}, 0,
                                   "Failed to allocate data block of size %u: %s", chunk_size,
                                   std::strerror(errno)));
        return false;
    }
    for (;;) {
        offset_ = source_->position();
        const std::size_t size = source_->read(chunk_.get(), chunk_size);
        const ByteSource::State state = source_->state();
        if (state == ByteSource::State::failed) return end_failed(size);
        if (state == ByteSource::State::cut_short &&
            !accepts(FaultKind::stream_cut, "The gzip stream has no end"))
            return false;
        if (size == 0) return true;
        if (size < VRN_MAGIC_SIZE)
            return accepts(FaultKind::tail_short, "Too few bytes for a block");
        if (!walk_chunk(size)) return false;
        if (state != ByteSource::State::open) return true;
    }
}

bool DataFileScan::walk_chunk(std::size_t size) {
    return walk_.walk({{chunk_.get(), size}, {chunk_.get(), header_.block_size}, offset_});
}

// What came before a gzip stream's fault is walked before the fault is told. What came of a plain
// file's chunk before a failed read is not.
bool DataFileScan::end_failed(std::size_t size) {
    // The file ends here in any case.
    if (source_->is_compressed() && size >= VRN_MAGIC_SIZE) static_cast<void>(walk_chunk(size));
    accepts(FaultKind::read_failed, source_->error_text());
    return false;
}

bool scan_data_file(const char *path, SchemaCache *schemas, Visitor *visitor) {
    const std::unique_ptr<ByteSource> source = ByteSource::open_path(path);
    if (!source) {
        visitor->fault(make_fault(FaultKind::header_cut, {}, {}, 0, "%s", std::strerror(errno)));
        return false;
    }
    PageBuffer buffer;
    return DataFileScan(source.get(), schemas, &buffer, visitor).run();
}

}  // namespace vrn::scan
