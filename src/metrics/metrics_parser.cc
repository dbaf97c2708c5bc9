// The records of a CNTX block as the JSON output takes them, and the heads of records.
#include "metrics/metrics_parser.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "metrics/metrics_debug.h"
#include "metrics/record_section.h"
#include "metrics/section_mark.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

using RecordHeader = std::array<std::uint8_t, RECORD_HEADER_SIZE>;

// The first bytes of a record; those that the data lacks are zeros, which is no metric type.
RecordHeader copy_header(Bytes record) {
    RecordHeader header{};
    std::ranges::copy(record.first(std::min(record.size(), header.size())), header.begin());
    return header;
}

// Only 'C' and 'G' stand for a type that records have.
bool is_metric_type(std::uint32_t type) {
    return (type & ~std::uint32_t{4}) == 'C';
}

std::uint32_t map_metric_type(std::uint8_t byte) {
    static constexpr std::array<char, 6> types = {'C', 'U', 'U', 'U', 'G', 'H'};
    const std::size_t index = byte - std::size_t{'C'};
    return static_cast<std::uint8_t>(index < types.size() ? types[index] : 'U');
}

MetricsBatch copy_samples(Bytes record, std::size_t count) {
    const Bytes data = record.subspan(std::min(record.size(), RECORD_HEADER_SIZE));
    if (count > data.size() / sizeof(MetricSample))
        throw std::runtime_error("num_samples exceeds available data");
    MetricsBatch batch;
    batch.samples.resize(count);
    if (count > 0) std::memcpy(batch.samples.data(), data.data(), count * sizeof(MetricSample));
    return batch;
}

// The record that starts `data`. `size` receives the bytes it takes.
MetricRecord parse_record(Bytes data, const RecordSection &section, std::uint64_t *size) {
    std::map<std::string, boost::any> header = VrnMetricsParser::parse_record_header(data);
    const auto num_samples = boost::any_cast<std::uint64_t>(header.at("num_samples"));
    MetricRecord record;
    record.timestamp = boost::any_cast<std::uint64_t>(header.at("timestamp"));
    record.samples = std::move(boost::any_cast<MetricsBatch &>(header.at("metrics")));
    *size = parse_labels_block(
        labels_data_of(data, section), RECORD_HEADER_SIZE + num_samples * sizeof(MetricSample),
        &record.label_set_id, &record.encoded_labels, "VrnMetricsParser::parse_metrics");
    return record;
}

}  // namespace

std::map<std::string, boost::any> VrnMetricsParser::parse_record_header(Bytes record) {
    const RecordHeader header = copy_header(record);
    const char type = static_cast<char>(header[RECORD_METRIC_TYPE_OFFSET]);
    if (type != 'C' && type != 'G') {
        VRN_LOG(VRN_LOG_ERROR, "[vrn metrics parser] invalid metric type");
        throw std::runtime_error("invalid metric type");
    }
    const std::uint64_t num_samples =
        load_le<std::uint16_t>(header.data() + RECORD_NUM_SAMPLES_OFFSET);
    std::map<std::string, boost::any> fields;
    fields["length"] = load_le<std::uint16_t>(header.data());
    fields["timestamp"] = load_le<std::uint64_t>(header.data() + RECORD_TIMESTAMP_OFFSET);
    fields["num_samples"] = num_samples;
    fields["metrics"] = copy_samples(record, num_samples);
    fields["type"] = std::string(1, type);
    return fields;
}

std::uint64_t VrnMetricsParser::decode_record_header(Bytes record, StoreRecord *fields) {
    const RecordHeader header = copy_header(record);
    const auto num_samples = load_le<std::uint16_t>(header.data() + RECORD_NUM_SAMPLES_OFFSET);
    fields->timestamp = load_le<std::uint64_t>(header.data() + RECORD_TIMESTAMP_OFFSET);
    fields->metric_type = map_metric_type(header[RECORD_METRIC_TYPE_OFFSET]);
    fields->value_type = header[RECORD_VALUE_TYPE_OFFSET];
    if (fields->timestamp == 0)
        VRN_LOG(VRN_LOG_ERROR, "[vrn metrics parser] invalid timestamp in the metrics batch");
    if (num_samples == 0)
        VRN_LOG(VRN_LOG_WARNING, "[vrn metrics parser] no samples in the metrics batch");
    if (!is_metric_type(fields->metric_type)) throw std::runtime_error("invalid metric type");
    fields->samples = copy_samples(record, num_samples);
    return fields->timestamp;
}

std::vector<MetricRecord> VrnMetricsParser::parse_metrics(Bytes range) {
    // Only the first half of the trailer is compared here.
    const RecordSection section = find_record_section(range, TRAILER.substr(0, MARK_SIZE));
    std::vector<MetricRecord> records;
    walk_records(section, [&](Bytes data) {
        std::uint64_t size = 0;
        records.push_back(parse_record(data, section, &size));
        return size;
    });
    return records;
}

void VrnMetricsParser::parse_cntx_block(Bytes block, LabelNames *label_names,
                                        std::vector<std::string> *label_values,
                                        std::vector<std::string> *metric_names,
                                        std::vector<MetricRecord> *records) {
    find_cntx_total_size(block);  // for its debug line
    Bytes rest = parse_label_names(block, label_names);
    dump_label_names(*label_names);
    rest = parse_label_values_section(rest, label_values);
    rest = parse_metric_names_section(rest, metric_names);
    dump_string_tables(*label_values, *metric_names);
    *records = parse_metrics(rest);
    dump_metric_records(*records, *label_values);
}

}  // namespace vrn::metrics
