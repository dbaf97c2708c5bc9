#include "vrn_check/salvage_writer.h"

#include <algorithm>

#include "vrn_check/file_bytes.h"

namespace vrn::check {
namespace {

constexpr std::size_t pending_size = std::size_t{1} << 20;
// Of the output for each byte of the input: a damaged size of chunks must not fill the disk.
constexpr std::uint64_t max_growth = 4;
// The one chunk of a small file may be larger than all of its input.
constexpr std::uint64_t max_extra = std::uint64_t{64} << 20;

}  // namespace

bool SalvageWriter::add(const KeptBlock &block) {
    if (!joins(block) && !begin_chunk(block)) return false;
    put(block.bytes);
    room_end_ = std::max(room_end_, end_ - block.bytes.size() + block.room);
    return true;
}

bool SalvageWriter::joins(const KeptBlock &block) const {
    if (chunk_begin_ == 0 || block.kind != kind_) return false;
    // These have a chunk to themselves, whatever room it leaves.
    if (block.kind == ChunkKind::counters || block.kind == ChunkKind::blob) return false;
    if (block.kind == ChunkKind::metrics && !block.follows_directly) return false;
    return end_ + block.room <= chunk_begin_ + chunk_size_;
}

bool SalvageWriter::begin_chunk(const KeptBlock &block) {
    const std::uint64_t begin = chunk_begin_ == 0 ? end_ : chunk_begin_ + chunk_size_;
    if (block.room > chunk_size_ || begin > max_growth * block.offset + max_extra) return false;
    flush();
    // What lies between stays a hole.
    chunk_begin_ = end_ = begin;
    kind_ = block.kind;
    return true;
}

void SalvageWriter::put(Bytes bytes) {
    pending_.append(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    end_ += bytes.size();
    if (pending_.size() >= pending_size) flush();
}

void SalvageWriter::flush() {
    write_at(file_, bytes_of(pending_), end_ - pending_.size());
    pending_.clear();
}

void SalvageWriter::end(vrn_data_file_header_t header) {
    flush();
    // Readers want the whole room of the last block; zeros fill it.
    header.file_size = std::max(end_, room_end_);
    header.block_size = chunk_size_;
    set_size(file_, header.file_size);
    // Last: a file that was left unfinished is no data file.
    write_at(file_, {reinterpret_cast<const std::uint8_t *>(&header), sizeof header}, 0);
}

}  // namespace vrn::check
