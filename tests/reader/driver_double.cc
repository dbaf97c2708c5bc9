#include "reader/driver_double.h"

#include <utility>

#include "reader/block_walk.h"

namespace vrn::test {
namespace {

std::vector<HandedBlock> blocks;
std::string refused;

}  // namespace

std::vector<HandedBlock> take_handed_blocks() {
    return std::exchange(blocks, {});
}

void refuse_blocks_with(const std::string &text) {
    refused = text;
}

}  // namespace vrn::test

bool vrn_reader_handle_block(vrn_reader_t *reader, const void *block, std::size_t size,
                             bool in_compressed) {
    using namespace vrn::test;
    const auto *start = static_cast<const char *>(block);
    const auto *end = reinterpret_cast<const char *>(reader->window_end) + VRN_READER_SLACK;
    blocks.push_back({{start, size}, {start + size, end}, in_compressed});
    return refused.empty() || blocks.back().bytes.find(refused) == std::string::npos;
}
