#include "metrics/metrics_debug.h"

#include "utils/log.h"

namespace vrn::metrics {
namespace {

void dump_strings(const std::vector<std::string> &strings) {
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Values: '%s', Size: %zu",
            join_strings(strings).c_str(), strings.size());
}

// Null when the label has no text. A quiet look: showing a block must not change its outcome.
const std::string *text_of(const EncodedLabel &label,
                           const std::vector<std::string> &label_values) {
    if (label.key_type == LabelKeyType::label_value) return &label.label_value;
    if (label.label_value_id >= label_values.size()) return nullptr;
    return &label_values[label.label_value_id];
}

void dump_record(const MetricRecord &record, const std::vector<std::string> &label_values) {
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Timestamp: %lu", record.timestamp);
    for (const MetricSample sample : record.samples.samples)
        VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser]   sample_id: %u, sample_value: %lu",
                sample.sample_id, sample.sample_value);
    for (std::size_t i = 0; i < record.encoded_labels.size(); ++i) {
        const EncodedLabel &label = record.encoded_labels[i];
        if (const std::string *text = text_of(label, label_values))
            VRN_LOG(VRN_LOG_DEBUG,
                    "[vrn metrics parser] encoded label: %s: %lu, decoded label[%zu]: %s",
                    label_key_type_name(label.key_type), label.label_value_id, i, text->c_str());
    }
}

}  // namespace

std::string join_strings(const std::vector<std::string> &strings) {
    std::string joined;
    for (std::size_t i = 0; i < strings.size(); ++i) {
        if (i > 0) joined += ',';
        joined += strings[i];
    }
    return joined;
}

void dump_label_names(const LabelNames &label_names) {
    for (const auto &[id, names] : label_names) {
        if (names.empty()) VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] empty label names vector");
        VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Label Names [%lu] %s", id,
                join_strings(names).c_str());
    }
}

void dump_string_tables(const std::vector<std::string> &label_values,
                        const std::vector<std::string> &metric_names) {
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Label values count: %zu", label_values.size());
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Metric names count: %zu", metric_names.size());
    dump_strings(label_values);
    dump_strings(metric_names);
}

void dump_metric_records(const std::vector<MetricRecord> &records,
                         const std::vector<std::string> &label_values) {
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Metrics Batch: ");
    if (vrn_log_level < VRN_LOG_DEBUG) return;
    for (const MetricRecord &record : records) dump_record(record, label_values);
}

}  // namespace vrn::metrics
