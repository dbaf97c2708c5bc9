// The header of a damaged file, as far as it can be known.
#pragma once

#include <cstddef>
#include <cstdint>

#include "data/data_file_header.h"
#include "utils/byte_reader.h"
#include "vrn_check/kept_block.h"
#include "vrn_check/known_schemas.h"

namespace vrn::check {

struct FoundHeader {
    vrn_data_file_header_t fields;  // valid, whatever there is
    bool is_there;
    // All else holds, so that an id of a schema that nobody knows is the file's own.
    bool has_own_ids;
    std::size_t end;  // where blocks may begin

    // True when `id` isn't to be replaced, whatever it names.
    bool keeps(const vrn_schema_id_t &id) const {
        return has_own_ids && !vrn_schema_id_is_zero(&id);
    }
};

// `bytes` are the whole file. Schema ids are mended where they can be.
FoundHeader find_header(Bytes bytes, const KnownSchemas &known);

// Ids that name no schema give way to one that does or to none, unless they are the file's own; no
// block that is kept needs them.
void drop_unknown_ids(const KnownSchemas &known, FoundHeader *header);

// What the places of blocks tell about the size of chunks.
class ChunkSurvey {
  public:
    void add(const KeptBlock &block);
    // `claimed` if the blocks don't speak against it.
    std::uint32_t chunk_size(std::uint32_t claimed) const;

  private:
    bool holds(std::uint64_t size) const;

    std::uint64_t largest_ = 0;                             // of the blocks
    std::uint64_t start_ = sizeof(vrn_data_file_header_t);  // of the chunk before
    std::uint64_t common_ = 0;                              // divisor of all distances of starts
    std::uint64_t starts_ = 0;
    std::vector<std::uint64_t> distances_;  // of the first starts
};

}  // namespace vrn::check
