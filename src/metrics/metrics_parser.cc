// The record walk of a CNTX block as the JSON output takes it.
#include "metrics/metrics_parser.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "metrics/metrics_debug.h"
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
MetricRecord parse_record(Bytes data, std::uint32_t blocksize, std::uint64_t *size) {
    std::map<std::string, boost::any> header = VrnMetricsParser::parse_record_header(data);
    const auto num_samples = boost::any_cast<std::uint64_t>(header.at("num_samples"));
    MetricRecord record;
    record.timestamp = boost::any_cast<std::uint64_t>(header.at("timestamp"));
    record.samples = std::move(boost::any_cast<MetricsBatch &>(header.at("metrics")));
    *size = parse_labels_block(data.first(std::min<std::size_t>(blocksize, data.size())),
                               RECORD_HEADER_SIZE + num_samples * sizeof(MetricSample),
                               &record.label_set_id, &record.encoded_labels,
                               "VrnMetricsParser::parse_metrics");
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

std::vector<MetricRecord> VrnMetricsParser::parse_metrics(Bytes range) {
    const Bytes section = find_mark(range, "CNTD");
    if (section.empty()) {
        VRN_LOG(VRN_LOG_ERROR,
                "[vrn metrics parser] Invalid binary data format: Missing 'CNTD' magic number");
        throw std::runtime_error("Missing 'CNTD' magic number in the binary data");
    }
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] data_len = %zu", section.size());
    // Only the first half of the trailer is compared here.
    if (!is_closed_by(section, TRAILER.substr(0, MARK_SIZE)))
        throw std::runtime_error("Invalid magic numbers in the binary data");

    // The two marks differ, so they don't overlap and the section has at least 12 bytes.
    const Bytes base = section.subspan(MARK_SIZE);
    const std::size_t end_offset = base.size() - TRAILER.size();
    const auto blocksize = load_le<std::uint32_t>(base.data());
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] End of data at %zu", end_offset);
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] blocksize= %u", blocksize);

    std::vector<MetricRecord> records;
    std::uint64_t size = 0;
    for (std::size_t offset = sizeof blocksize; offset < end_offset; offset += size) {
        VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] offset=%zu end=%zu", offset, end_offset);
        // Deliberate: a record that stops short makes the walk take the trailer for a record.
        records.push_back(parse_record(base.subspan(offset), blocksize, &size));
    }
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
