#include "metrics/metrics_parser.h"

#include <array>
#include <stdexcept>

#include "metrics/cntx_block_view.h"
#include "metrics/record_section.h"
#include "metrics/record_view.h"
#include "metrics/section_mark.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

// Only 'C' and 'G' stand for a type that records have.
bool is_metric_type(std::uint32_t type) {
    return (type & ~std::uint32_t{4}) == 'C';
}

// Deliberate: the table knows 'H', a type that is refused all the same.
std::uint32_t map_metric_type(std::uint8_t byte) {
    static constexpr std::array<char, 6> types = {'C', 'U', 'U', 'U', 'G', 'H'};
    const std::size_t index = byte - std::size_t{'C'};
    return static_cast<std::uint8_t>(index < types.size() ? types[index] : 'U');
}

}  // namespace

std::map<std::string, boost::any> VrnMetricsParser::parse_record_header(Bytes record) {
    Bytes samples;
    const RecordHeader header = read_checked_header(record, &samples);
    std::map<std::string, boost::any> fields;
    // The types are part of the interface: readers take them out by a checked cast.
    fields["length"] = header.length;
    fields["timestamp"] = header.timestamp;
    fields["num_samples"] = std::uint64_t{header.num_samples};
    fields["metrics"] = copy_samples(samples);
    fields["type"] = std::string(1, static_cast<char>(header.metric_type));
    return fields;
}

std::uint64_t VrnMetricsParser::decode_record_header(Bytes record, StoreRecord *fields) {
    const RecordHeader header = read_record_header(record);
    fields->timestamp = header.timestamp;
    fields->metric_type = map_metric_type(header.metric_type);
    fields->value_type = header.value_type;
    // Deliberate: told as an error, yet taken: a writer without a clock still has values.
    if (fields->timestamp == 0)
        VRN_LOG(VRN_LOG_ERROR, "[vrn metrics parser] invalid timestamp in the metrics batch");
    if (header.num_samples == 0)
        VRN_LOG(VRN_LOG_WARNING, "[vrn metrics parser] no samples in the metrics batch");
    if (!is_metric_type(fields->metric_type)) throw std::runtime_error("invalid metric type");
    fields->samples = copy_samples(read_samples(record, header.num_samples));
    return fields->timestamp;
}

std::vector<MetricRecord> VrnMetricsParser::parse_metrics(Bytes range) {
    // Only the first half of the trailer is compared here.
    const RecordSection section = find_record_section(range, TRAILER.substr(0, MARK_SIZE));
    std::vector<MetricRecord> records;
    walk_records(section,
                 [&](Bytes data) { return parse_record(data, section, &records.emplace_back()); });
    return records;
}

void VrnMetricsParser::parse_cntx_block(Bytes block, LabelNames *label_names,
                                        std::vector<std::string> *label_values,
                                        std::vector<std::string> *metric_names,
                                        std::vector<MetricRecord> *records) {
    CntxBlockView view;
    view.read(block, find_mark(block, "CNTX"));
    append_names(view.label_sets, label_names);
    label_values->assign(view.label_values.begin(), view.label_values.end());
    metric_names->assign(view.metric_names.begin(), view.metric_names.end());
    // The view has shown the records at debug level; copies are made in silence.
    records->clear();
    scan_records(view.records, [&](const RecordView &record) {
        return copy_record(record, &records->emplace_back());
    });
}

std::uint32_t VrnMetricsParser::find_cntx_total_size(Bytes range) {
    return read_total_size(find_mark(range, "CNTX"));
}

Bytes VrnMetricsParser::parse_label_names(Bytes range, LabelNames *label_names) {
    return metrics::parse_label_names(range, label_names);
}

Bytes VrnMetricsParser::parse_string_section(Bytes range, std::string_view prefix,
                                             std::string_view suffix,
                                             std::vector<std::string> *strings) {
    return metrics::parse_string_section(range, prefix, suffix, strings);
}

Bytes VrnMetricsParser::parse_label_values_section(Bytes range,
                                                   std::vector<std::string> *label_values) {
    return parse_label_values(range, label_values);
}

Bytes VrnMetricsParser::parse_metric_names_section(Bytes range,
                                                   std::vector<std::string> *metric_names) {
    return parse_metric_names(range, metric_names);
}

LabelMap VrnMetricsParser::parse_constant_labels(Bytes range) {
    return metrics::parse_constant_labels(range);
}

Bytes VrnMetricsParser::parse_histogram_sections(Bytes range,
                                                 const std::vector<std::string> &label_values,
                                                 HistogramSet *histograms) {
    // What is left tells whether all were parsed.
    static_cast<void>(parse_histograms(&range, label_values, histograms));
    return range;
}

bool VrnMetricsParser::count_metrics_from_cntx_blocks(Bytes range, MetricCounts *counts) {
    return count_metrics(range, counts);
}

}  // namespace vrn::metrics
