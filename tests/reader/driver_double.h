// Stands in for the reader's driver, so that its parts are tested alone: takes note of the blocks
// that are handed over.
#pragma once

#include <string>
#include <vector>

namespace vrn::test {

struct HandedBlock {
    std::string bytes;
    std::string behind;  // what stands between the block and the end of the slack
    bool in_compressed;
};

// Blocks handed over since the call before.
std::vector<HandedBlock> take_handed_blocks();

// A block that contains this text is noted and then refused; none does after an empty text.
void refuse_blocks_with(const std::string &text);

}  // namespace vrn::test
