// The table sections of a CNTX block, in place.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "metrics/histogram_set.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

// One "LBLN" section: u8 length and text for each of `count` names, at most 255.
struct LabelSetView {
    std::size_t count = 0;
    Bytes names;
};
std::vector<std::string> names_of(const LabelSetView &set);

// Finds the first "LBLN" section of `range`; `behind` receives the bytes that follow it. False,
// with nothing changed, when there is none. Throws std::runtime_error when it leaves the range.
bool read_label_set(Bytes range, LabelSetView *set, Bytes *behind);

// u8 length and text. False, with nothing changed, when the text leaves the reader's bytes.
bool read_string(ByteReader &reader, std::string_view *string);

// As VrnMetricsParser::parse_string_section(); `strings` are views into the range.
Bytes read_string_section(Bytes range, std::string_view prefix, std::string_view suffix,
                          std::vector<std::string_view> *strings);

// Adds the histograms of all "HIST" sections of `range`, which becomes the bytes after the last
// one. False after an error line for a malformed section, with `range` as it was; the histograms
// before it stay.
bool read_histogram_sections(Bytes *range, const std::vector<std::string> &label_values,
                             HistogramSet *histograms);

}  // namespace vrn::metrics
