// The table sections of a CNTX block, in place.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "utils/byte_reader.h"

namespace vrn::metrics {

// One "LBLN" section: u8 length and text for each of `count` names, at most 255.
struct LabelSetView {
    std::size_t count = 0;
    Bytes names;
};
std::vector<std::string> names_of(const LabelSetView &set);

// Finds all "LBLN" sections of `range`. Returns the bytes that follow the last one; without any,
// those that follow the first 4. Throws std::runtime_error when a section leaves the range.
Bytes read_label_sets(Bytes range, std::vector<LabelSetView> *sets);

// u8 length and text. False, with nothing changed, when the text leaves the reader's bytes.
[[nodiscard]] bool read_string(ByteReader &reader, std::string_view *string);

// Finds the first section with the mark `prefix`; `strings` are views into it. Returns the bytes
// that follow it; without one, no strings and the empty end of the range. Throws
// std::runtime_error, after an error line, when the section leaves the range.
Bytes read_string_section(Bytes range, std::string_view prefix, std::string_view suffix,
                          std::vector<std::string_view> *strings);

}  // namespace vrn::metrics
