// The walk of a file's chunks and the dispatch of its blocks: see vrn_reader_read_blocks and
// vrn_reader_handle_block in reader.h.
#pragma once

#include "reader/reader.h"

// Bytes of zeros that stand behind each window of blocks: a header or a GUID word that begins
// near its end is read without a test.
inline constexpr std::size_t VRN_READER_SLACK = 64;

// What remains of the window from `block` on; blocks may read it all.
inline vrn::Bytes vrn_reader_window_from(const vrn_reader_t *reader, const void *block) {
    const auto *start = static_cast<const std::uint8_t *>(block);
    return {start, reader->window_end};
}
