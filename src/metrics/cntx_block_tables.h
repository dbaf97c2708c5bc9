// The tables that a CNTX block carries for its own records.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "metrics/histogram_set.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

using LabelNames = std::map<std::uint64_t, std::vector<std::string>>;  // by label set id
using LabelMap = std::unordered_map<std::string, std::string>;         // label name to value

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
