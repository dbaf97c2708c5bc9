// Records of a CNTX block, in place.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "metrics/labels_walk.h"
#include "metrics/metrics_batch.h"
#include "metrics/record_section.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

// The fixed fields of a record.
struct RecordHeader {
    std::uint16_t length = 0;
    std::uint64_t timestamp = 0;  // microseconds since the epoch
    std::uint8_t metric_type = 0;
    std::uint8_t value_type = 0;
    std::uint16_t num_samples = 0;
};

// Fields that the data lacks are zeros, which is no metric type.
RecordHeader read_short_record_header(Bytes record);

inline RecordHeader read_record_header(Bytes record) {
    if (record.size() < RECORD_HEADER_SIZE) return read_short_record_header(record);
    const std::uint8_t *data = record.data();
    return {.length = load_le<std::uint16_t>(data),
            .timestamp = load_le<std::uint64_t>(data + RECORD_TIMESTAMP_OFFSET),
            .metric_type = data[RECORD_METRIC_TYPE_OFFSET],
            .value_type = data[RECORD_VALUE_TYPE_OFFSET],
            .num_samples = load_le<std::uint16_t>(data + RECORD_NUM_SAMPLES_OFFSET)};
}

// Throw std::runtime_error, the first one after an error line.
[[noreturn]] void fail_metric_type();
[[noreturn]] void fail_samples();

// The packed samples of the record that starts `record`.
inline Bytes read_samples(Bytes record, std::size_t num_samples) {
    const std::size_t size = num_samples * sizeof(MetricSample);
    if (record.size() < RECORD_HEADER_SIZE + size && size > 0) fail_samples();
    return record.subspan(std::min(record.size(), RECORD_HEADER_SIZE), size);
}
MetricsBatch copy_samples(Bytes samples);

struct RecordView {
    std::uint64_t timestamp = 0;   // microseconds since the epoch
    std::uint8_t metric_type = 0;  // 'C' or 'G'
    std::uint8_t value_type = 0;
    Bytes samples;  // packed MetricSample
    LabelsHeader labels;
    Bytes label_values;  // from the first one on; others may follow the last one

    std::size_t num_samples() const { return samples.size() / sizeof(MetricSample); }
    MetricSample sample(std::size_t index) const {
        return load_le<MetricSample>(samples.data() + index * sizeof(MetricSample));
    }
};

// Header and samples of the record that starts `record`, checked.
inline RecordHeader read_checked_header(Bytes record, Bytes *samples) {
    const RecordHeader header = read_record_header(record);
    if (header.metric_type != 'C' && header.metric_type != 'G') fail_metric_type();
    *samples = read_samples(record, header.num_samples);
    return header;
}

// The record that starts `data`. Throws std::runtime_error, after an error line for an invalid type
// or labels block.
inline RecordView read_record(Bytes data, const RecordSection &section) {
    RecordView view;
    const RecordHeader header = read_checked_header(data, &view.samples);
    view.timestamp = header.timestamp;
    view.metric_type = header.metric_type;
    view.value_type = header.value_type;
    const Bytes labels_data = labels_data_of(data, section);
    const std::size_t labels_offset = RECORD_HEADER_SIZE + view.samples.size();
    view.labels = read_labels_header(labels_data, labels_offset);
    view.label_values = labels_data.subspan(labels_offset + LABELS_HEADER_SIZE);
    return view;
}

// Copies the record that starts `data` and returns the bytes it takes. Throws as read_record().
std::uint64_t parse_record(Bytes data, const RecordSection &section, MetricRecord *record);

// Copies a record that was read, without debug lines. Returns the bytes its label values take.
std::size_t copy_record(const RecordView &view, MetricRecord *record);

// Calls `visit` with each record; it returns the bytes that the label values take, as
// walk_label_values(). Shows nothing at debug level.
template <typename Visit>
void scan_records(const RecordSection &section, Visit visit) {
    for (std::size_t offset = sizeof section.blocksize; offset < section.end_offset;) {
        const RecordView record = read_record(section.base.subspan(offset), section);
        const std::size_t labels_size = visit(record);
        offset = static_cast<std::size_t>(record.label_values.data() - section.base.data()) +
                 labels_size;
    }
}

}  // namespace vrn::metrics
