#include "metrics/cntx_block_tables.h"

#include <boost/container_hash/hash.hpp>
#include <stdexcept>

#include "metrics/metrics_parser.h"
#include "metrics/table_sections.h"

namespace vrn::metrics {

CntxBlockTables CntxBlockTables::parse(Bytes block) {
    CntxBlockTables tables;
    Bytes rest = VrnMetricsParser::parse_label_names(block, &tables.label_names);
    for (const auto &[id, names] : tables.label_names)
        tables.label_set_hashes[id] = boost::hash_range(names.begin(), names.end());
    rest = VrnMetricsParser::parse_label_values_section(rest, &tables.label_values);
    rest = VrnMetricsParser::parse_metric_names_section(rest, &tables.metric_names);
    tables.has_all_histograms =
        read_histogram_sections(&rest, tables.label_values, &tables.histograms);
    tables.constant_labels = VrnMetricsParser::parse_constant_labels(block);
    return tables;
}

const std::vector<std::string> &CntxBlockTables::names_of(std::uint64_t label_set_id) const {
    const auto found = label_names.find(label_set_id);
    return found == label_names.end() ? empty_label_names : found->second;
}

LabelMap resolve_labels(const CntxBlockTables &tables, std::uint64_t label_set_id,
                        const std::vector<std::string> &values) {
    const std::vector<std::string> &names = tables.names_of(label_set_id);
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
