#include "metrics/cntx_block_tables.h"

#include <algorithm>
#include <boost/container_hash/hash.hpp>
#include <iterator>
#include <stdexcept>

#include "metrics/table_sections.h"
#include "utils/log.h"

namespace vrn::metrics {

Bytes parse_label_names(Bytes range, LabelNames *label_names) {
    std::vector<LabelSetView> sets;
    const Bytes rest = read_label_sets(range, &sets);
    append_names(sets, label_names);
    return rest;
}

void append_names(const std::vector<LabelSetView> &sets, LabelNames *label_names) {
    for (std::size_t id = 0; id < sets.size(); ++id)
        std::ranges::move(names_of(sets[id]), std::back_inserter((*label_names)[id]));
    // Deliberate: a name list that the caller had under the next number is dropped, so that the map
    // never knows more sets than the block.
    label_names->erase(sets.size());
}

Bytes parse_string_section(Bytes range, std::string_view prefix, std::string_view suffix,
                           std::vector<std::string> *strings) {
    std::vector<std::string_view> views;
    const Bytes rest = read_string_section(range, prefix, suffix, &views);
    strings->assign(views.begin(), views.end());
    return rest;
}

Bytes parse_label_values(Bytes range, std::vector<std::string> *label_values) {
    return parse_string_section(range, "LBLV", "lblv", label_values);
}

Bytes parse_metric_names(Bytes range, std::vector<std::string> *metric_names) {
    return parse_string_section(range, "CNTI", "cnti", metric_names);
}

// Histograms are an addition to a block: a damaged one doesn't cost the block its records.
bool parse_histograms(Bytes *range, const std::vector<std::string> &label_values,
                      HistogramSet *histograms) {
    try {
        *range = histograms->parse_sections(*range, label_values);
        return true;
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR, "[vrn metrics parser] Error parsing histograms: %s", error.what());
        return false;
    }
}

LabelMap parse_constant_labels(Bytes range) {
    std::vector<std::string_view> strings;
    read_string_section(range, "CLBL", "clbl", &strings);
    LabelMap labels;
    // Writers give an even count; of two equal names the last counts.
    for (std::size_t i = 0; i + 1 < strings.size(); i += 2)
        labels[std::string(strings[i])] = strings[i + 1];
    return labels;
}

CntxBlockTables CntxBlockTables::parse(Bytes block) {
    CntxBlockTables tables;
    Bytes rest = parse_label_names(block, &tables.label_names);
    // The hash tells label sets of different blocks apart, so it is of the names, not of the
    // number.
    for (const auto &[id, names] : tables.label_names)
        tables.label_set_hashes[id] = boost::hash_range(names.begin(), names.end());
    rest = parse_label_values(rest, &tables.label_values);
    rest = parse_metric_names(rest, &tables.metric_names);
    tables.has_all_histograms = parse_histograms(&rest, tables.label_values, &tables.histograms);
    // Searched in the whole block: nothing fixes where the section stands among the others.
    tables.constant_labels = parse_constant_labels(block);
    return tables;
}

const std::vector<std::string> &CntxBlockTables::names_of(std::uint64_t label_set_id) const {
    const auto found = label_names.find(label_set_id);
    return found == label_names.end() ? empty_label_names : found->second;
}

LabelMap resolve_labels(const CntxBlockTables &tables, std::uint64_t label_set_id,
                        const std::vector<std::string> &values) {
    const std::vector<std::string> &names = tables.names_of(label_set_id);
    // A record may carry more values than its label set has names; each value needs one.
    require_names_for(values, names);
    LabelMap labels = tables.constant_labels;
    for (std::size_t i = 0; i < values.size(); ++i) labels[names[i]] = values[i];
    return labels;
}

void require_names_for(const std::vector<std::string> &values,
                       const std::vector<std::string> &names) {
    if (values.size() > names.size()) throw std::runtime_error("label count mismatch");
}

}  // namespace vrn::metrics
