// Sections of a CNTX block are found by a plain byte search for their 4-byte mark.
#pragma once

#include <algorithm>
#include <string_view>

#include "utils/byte_reader.h"

namespace vrn::metrics {

inline constexpr std::size_t MARK_SIZE = 4;
// Closes the record section and then the block.
inline constexpr std::string_view TRAILER = "cntdcntx";

// The bytes of `range` from its first `mark` on; empty when there is none.
inline Bytes find_mark(Bytes range, std::string_view mark) {
    const std::string_view text(reinterpret_cast<const char *>(range.data()), range.size());
    return range.subspan(std::min(text.find(mark), range.size()));
}

// True when the last 8 bytes of `section` begin with `mark`.
inline bool is_closed_by(Bytes section, std::string_view mark) {
    if (section.size() < TRAILER.size()) return false;
    return std::ranges::equal(section.last(TRAILER.size()).first(mark.size()), mark, {}, {},
                              [](char c) { return static_cast<std::uint8_t>(c); });
}

}  // namespace vrn::metrics
