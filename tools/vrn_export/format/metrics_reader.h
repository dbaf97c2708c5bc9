// The metrics blocks in one run of bytes, as records with their names and labels.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "metrics/histogram.h"
#include "scan/metrics_walk.h"
#include "utils/byte_reader.h"
#include "vrn_export/format/record_selection.h"

namespace vrn::exporter {

// Texts may hold any bytes.
struct MetricLabel {
    std::string_view name;
    std::string_view value;
};

enum class MetricValueForm : std::uint8_t { unsigned_integer, signed_integer, float64 };

struct MetricSample {
    std::string_view name;
    std::uint64_t bits;

    std::int64_t as_signed() const { return static_cast<std::int64_t>(bits); }
    double as_double() const { return std::bit_cast<double>(bits); }
};

struct MetricRecord {
    std::uint64_t time;
    bool is_counter;  // or a gauge
    MetricValueForm form;
    // The constant labels of the block in its order, then those of the record; of a name that
    // comes twice, the first place and the last value.
    std::span<const MetricLabel> labels;
    std::span<const MetricSample> samples;  // selected ones, at least one
};

struct HistogramRecord {
    const metrics::Histogram &histogram;  // counts of buckets include those of lower ones
    std::span<const MetricLabel> labels;
};

// What is found; offsets are those in the run. Each returns false to leave out the rest of the
// block.
struct MetricsSink {
    std::function<bool(const MetricRecord &)> record;
    std::function<bool(const HistogramRecord &)> histogram;
    std::function<void(std::size_t offset, std::size_t lost, const char *kind, std::string reason)>
        fault;
};

// Used for one run after the other it keeps its memory.
class MetricsReader {
  public:
    // Borrows `selection`.
    MetricsReader(const RecordSelection *selection, MetricsSink sink);

    // `bytes` begin with a block; more may follow it, and then padding.
    void read(Bytes bytes);

  private:
    class LabelSetter;

    bool read_tables(const scan::MetricsTables &tables);
    bool read_histograms();
    bool read_histogram(Bytes section, std::size_t size, const metrics::Histogram &histogram);
    bool give(const metrics::RecordView &record);
    bool takes_metric(std::uint16_t id);
    void collect_constant_labels(const std::vector<std::string_view> &constants);
    void set_label(std::string_view name, std::string_view value);
    std::size_t offset_of(const std::uint8_t *place) const;

    const RecordSelection &selection_;
    MetricsSink sink_;
    scan::MetricsWalk walk_;
    Bytes run_;
    const metrics::CntxBlockView *view_ = nullptr;  // of the block at hand
    bool goes_on_ = true;                           // with its records
    std::vector<MetricLabel> constant_labels_;      // distinct ones
    std::unordered_map<std::string_view, std::size_t> constant_places_;
    std::vector<MetricLabel> labels_;  // of the record at hand, the constant ones first
    std::vector<MetricSample> samples_;
    enum class Choice : std::uint8_t { unknown, taken, left_out };
    std::vector<Choice> choices_;  // of the block's metrics
};

}  // namespace vrn::exporter
