// Blocks on the grid of a new data file.
#pragma once

#include <cstdint>
#include <string>

#include "data/data_file_header.h"
#include "utils/descriptor.h"
#include "vrn_check/kept_block.h"

namespace vrn::check {

// All throw std::system_error when the file can't be written.
class SalvageWriter {
  public:
    // Borrows `file`, which is empty.
    SalvageWriter(const Descriptor &file, std::uint32_t chunk_size)
        : file_(file), chunk_size_(chunk_size) {}

    // False when there is no room for the block: it is larger than a chunk, or it would take more
    // chunks than an input of this size can stand for.
    [[nodiscard]] bool add(const KeptBlock &block);

    // Ends the file and gives it its header, with the sizes of the file and of its chunks set.
    void end(vrn_data_file_header_t header);

  private:
    bool begin_chunk(const KeptBlock &block);
    bool joins(const KeptBlock &block) const;
    void put(Bytes bytes);
    void flush();

    const Descriptor &file_;
    std::uint32_t chunk_size_;
    std::uint64_t chunk_begin_ = 0;  // 0: there is no chunk
    ChunkKind kind_{};
    std::uint64_t end_ = sizeof(vrn_data_file_header_t);  // of what was put
    std::uint64_t room_end_ = 0;                          // the file has no end before
    std::string pending_;                                 // the last of what was put
};

}  // namespace vrn::check
