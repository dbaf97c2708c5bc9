// Sections of a CNTX block are found by a plain byte search for their 4-byte mark.
#pragma once

#include <algorithm>
#include <string_view>

#include "utils/byte_reader.h"

namespace vrn::metrics {

inline constexpr std::size_t MARK_SIZE = 4;
// Closes the record section and then the block.
inline constexpr std::string_view TRAILER = "cntdcntx";

// The bytes of `range` from its first `mark`, which isn't empty, on; empty when there is none.
inline Bytes find_mark(Bytes range, std::string_view mark) {
    const std::string_view text(reinterpret_cast<const char *>(range.data()), range.size());
    // What is looked for is a letter that isn't in each record, as types and encodings are.
    const std::size_t rare = std::min(mark.find_first_not_of("CGILM"), mark.size() - 1);
    std::size_t at = text.find(mark[rare], rare);
    while (at != text.npos && text.substr(at - rare, mark.size()) != mark)
        at = text.find(mark[rare], at + 1);
    return range.subspan(at == text.npos ? range.size() : at - rare);
}

// True when the last 8 bytes of `section` begin with `mark`.
inline bool is_closed_by(Bytes section, std::string_view mark) {
    if (section.size() < TRAILER.size()) return false;
    return std::ranges::equal(section.last(TRAILER.size()).first(mark.size()), mark, {}, {},
                              [](char c) { return static_cast<std::uint8_t>(c); });
}

}  // namespace vrn::metrics
