#include "metrics/record_view.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "metrics/labels_block.h"

namespace vrn::metrics {

RecordHeader read_short_record_header(Bytes record) {
    // A walk that took the trailer for a record stands here; zeros end it as an invalid type.
    std::array<std::uint8_t, RECORD_HEADER_SIZE> padded{};
    std::ranges::copy(record, padded.begin());
    return read_record_header(padded);
}

void fail_metric_type() {
    VRN_LOG(VRN_LOG_ERROR, "[vrn metrics parser] invalid metric type");
    throw std::runtime_error("invalid metric type");
}

void fail_samples() {
    throw std::runtime_error("num_samples exceeds available data");
}

MetricsBatch copy_samples(Bytes samples) {
    MetricsBatch batch;
    batch.samples.resize(samples.size() / sizeof(MetricSample));
    if (!samples.empty()) std::memcpy(batch.samples.data(), samples.data(), samples.size());
    return batch;
}

std::uint64_t parse_record(Bytes data, const RecordSection &section, MetricRecord *record) {
    Bytes samples;
    record->timestamp = read_checked_header(data, &samples).timestamp;
    record->samples = copy_samples(samples);
    // Deliberate: the bound of the labels is the blocksize from the record on, not the end of the
    // section.
    return parse_labels_block(labels_data_of(data, section), RECORD_HEADER_SIZE + samples.size(),
                              &record->label_set_id, &record->encoded_labels,
                              "VrnMetricsParser::parse_metrics");
}

std::size_t copy_record(const RecordView &view, MetricRecord *record) {
    record->timestamp = view.timestamp;
    record->samples = copy_samples(view.samples);
    record->label_set_id = view.labels.label_set_id;
    record->encoded_labels.clear();
    LabelCollector labels(&record->encoded_labels);
    return walk_label_values(view.labels, view.label_values, labels);
}

}  // namespace vrn::metrics
