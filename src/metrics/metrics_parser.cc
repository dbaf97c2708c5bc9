// The records of a CNTX block as the JSON output takes them, and the heads of records.
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
    view.read(block);
    parse_label_names(block, label_names);
    label_values->assign(view.label_values.begin(), view.label_values.end());
    metric_names->assign(view.metric_names.begin(), view.metric_names.end());
    records->clear();
    scan_records(view.records, [&](std::size_t, const RecordView &record) {
        return copy_record(record, &records->emplace_back());
    });
}

}  // namespace vrn::metrics
