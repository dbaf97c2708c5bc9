// The tables that a CNTX block carries for its own records.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "metrics/histogram_set.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

using LabelNames = std::map<std::uint64_t, std::vector<std::string>>;  // by label set id
using LabelMap = std::unordered_map<std::string, std::string>;         // label name to value

struct LabelSetView;

// Each reads its sections from `range` and returns the bytes that follow the last one. They throw
// std::runtime_error when a section leaves the range.

// Appends the names of all "LBLN" sections under their number. Without any, the bytes that follow
// the first 4 are returned.
Bytes parse_label_names(Bytes range, LabelNames *label_names);
// Names of the sets under their index.
void append_names(const std::vector<LabelSetView> &sets, LabelNames *label_names);
// The strings of the first section with the mark `prefix`; without one, none and the empty end.
Bytes parse_string_section(Bytes range, std::string_view prefix, std::string_view suffix,
                           std::vector<std::string> *strings);
Bytes parse_label_values(Bytes range, std::vector<std::string> *label_values);
Bytes parse_metric_names(Bytes range, std::vector<std::string> *metric_names);
// Adds the histograms of all "HIST" sections of `range`, which becomes the bytes that follow the
// last one. False after an error line for a malformed section, with `range` as it was; the
// histograms before it stay. Throws nothing.
[[nodiscard]] bool parse_histograms(Bytes *range, const std::vector<std::string> &label_values,
                                    HistogramSet *histograms);

// Name and value of each pair of strings in "CLBL"; a last name without value is left out.
LabelMap parse_constant_labels(Bytes range);

struct CntxBlockTables {
    LabelNames label_names;
    std::vector<std::string> empty_label_names;  // stays empty; the names of an unknown label set
    std::map<std::uint64_t, std::uint64_t> label_set_hashes;  // of the names, by label set id
    std::vector<std::string> label_values;
    std::vector<std::string> metric_names;
    HistogramSet histograms;
    bool has_all_histograms = true;  // false: those from a malformed section on are missing
    LabelMap constant_labels;

    // Reads the tables of the block that fills `block`. Throws std::runtime_error when a section
    // leaves it.
    static CntxBlockTables parse(Bytes block);

    const std::vector<std::string> &names_of(std::uint64_t label_set_id) const;
};

// The constant labels, overwritten by `values` under the names of their label set. Throws
// std::runtime_error when the set has fewer names than there are values.
LabelMap resolve_labels(const CntxBlockTables &tables, std::uint64_t label_set_id,
                        const std::vector<std::string> &values);

// Throws std::runtime_error when there are more values than names.
void require_names_for(const std::vector<std::string> &values,
                       const std::vector<std::string> &names);

}  // namespace vrn::metrics
