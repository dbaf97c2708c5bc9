#include "metrics/metrics_debug.h"

#include "metrics/labels_block.h"
#include "metrics/record_view.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

bool is_shown() {
    return vrn_log_level >= VRN_LOG_DEBUG;  // also before the log has started
}

void show_strings(const std::vector<std::string_view> &strings) {
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Values: '%s', Size: %zu",
            join_strings({strings.begin(), strings.end()}).c_str(), strings.size());
}

// Shows the labels of a record. See walk_label_values().
struct LabelLines {
    const std::vector<std::string_view> &label_values;

    // A quiet look: showing a block must not change its outcome.
    void id(std::size_t index, std::uint8_t id) const {
        if (id < label_values.size())
            show(LabelKeyType::label_value_id, id, index, label_values[id]);
    }
    void text(std::size_t index, std::string_view text) const {
        show(LabelKeyType::label_value, 0, index, text);
    }
    static void show(LabelKeyType type, unsigned id, std::size_t index, std::string_view text) {
        VRN_LOG(VRN_LOG_DEBUG,
                "[vrn metrics parser] encoded label: %s: %u, decoded label[%zu]: %.*s",
                label_key_type_name(type), id, index, static_cast<int>(text.size()), text.data());
    }
};

std::size_t show_record(const RecordView &record,
                        const std::vector<std::string_view> &label_values) {
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Timestamp: %lu", record.timestamp);
    for (std::size_t i = 0; i < record.num_samples(); ++i) {
        const MetricSample sample = record.sample(i);
        VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser]   sample_id: %u, sample_value: %lu",
                sample.sample_id, sample.sample_value);
    }
    LabelLines lines{label_values};
    return walk_label_values(record.labels, record.label_values, lines);
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

void show_label_sets(const std::vector<LabelSetView> &sets) {
    if (!is_shown()) return;
    for (std::size_t id = 0; id < sets.size(); ++id) {
        if (sets[id].count == 0)
            VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] empty label names vector");
        VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Label Names [%zu] %s", id,
                join_strings(names_of(sets[id])).c_str());
    }
}

void show_string_tables(const std::vector<std::string_view> &label_values,
                        const std::vector<std::string_view> &metric_names) {
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Label values count: %zu", label_values.size());
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Metric names count: %zu", metric_names.size());
    show_strings(label_values);
    show_strings(metric_names);
}

void show_records(const RecordSection &section, const std::vector<std::string_view> &label_values) {
    if (!is_shown()) return;
    // Two walks, as the lines of parsing come before those of what was parsed. The first is the one
    // that finds the faults.
    MetricRecord copy;
    walk_records(section, [&](Bytes data) { return parse_record(data, section, &copy); });
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Metrics Batch: ");
    scan_records(section,
                 [&](const RecordView &record) { return show_record(record, label_values); });
}

}  // namespace vrn::metrics
