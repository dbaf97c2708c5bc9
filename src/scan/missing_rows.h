// Blocks that claim more than the file holds of them.
#pragma once

#include <string>

#include "scan/visitor.h"

namespace vrn::scan {

inline constexpr char cut_header[] = "A block ends within its header";

inline bool is_whole(const EventBatch &batch) {
    return batch.count == batch.header.num_events && batch.room >= sizeof batch.header;
}
inline bool is_whole(const CountersBlock &block) {
    return block.held >= block.schema->size && block.room >= sizeof block.header;
}

// What of a block that isn't whole is there, as a sentence.
std::string missing_rows(const EventBatch &batch);
std::string missing_rows(const CountersBlock &block);

}  // namespace vrn::scan
