#include "metrics/json_fit.h"

#include <algorithm>
#include <stdexcept>
#include <unordered_map>

#include "metrics/labels_block.h"
#include "utils/log.h"

namespace vrn::metrics {

JsonFit::JsonFit(const CntxBlockTables &tables, std::size_t num_metric_names)
    : tables_(tables), num_metric_names_(num_metric_names) {
    // Looked at once a block: a record of a few bytes shows all constant labels.
    for (const auto &[name, value] : tables.constant_labels)
        if (!is_json_text(value)) unfit_constants_.push_back(name);
}

bool JsonFit::fits(const MetricRecord &record) const {
    if (!labels_fit(record)) {
        // Deliberate: one line for the label, one for the array that it fails.
        VRN_LOG(VRN_LOG_ERROR, "Failed allocating JSON object");
        VRN_LOG(VRN_LOG_ERROR, "Failed allocating JSON object");
        return false;
    }
    // Last, as the labels of a record are made before its metrics.
    for (const MetricSample sample : record.samples.samples)
        if (sample.sample_id >= num_metric_names_) throw std::runtime_error("invalid metric id");
    return true;
}

bool JsonFit::labels_fit(const MetricRecord &record) const {
    const auto set = tables_.label_names.find(record.label_set_id);
    // Nothing is shown of the labels of an unknown set, so nothing is asked of them.
    if (set == tables_.label_names.end()) return true;
    const std::vector<std::string> &names = set->second;
    const auto values = decode_label_values(record.encoded_labels, tables_.label_values);
    require_names_for(values, names);
    std::unordered_map<std::string_view, bool> fit;  // the last value of a name is the one shown
    for (std::size_t i = 0; i < values.size(); ++i) fit[names[i]] = is_json_text(values[i]);
    return std::ranges::all_of(fit, [](const auto &label) { return label.second; }) &&
           std::ranges::all_of(unfit_constants_,
                               [&](const std::string &name) { return fit.contains(name); });
}

}  // namespace vrn::metrics
