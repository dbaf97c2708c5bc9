// Writer of CNTX blocks.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "metrics/histogram.h"
#include "metrics/labels_block.h"
#include "metrics/metrics_batch.h"

namespace vrn::metrics {

// A labels block to write: one value for each of the first names of the set.
struct CntxLabels {
    std::uint8_t label_set_id = 0;
    LabelEncoding encoding = LabelEncoding::mixed;
    std::vector<EncodedLabel> labels = {};
};

// A record to write. The id is that of the label set; `labels` holds one value for each of its
// first names, laid out by `encoding`.
struct CntxRecord {
    std::uint64_t timestamp = 0;  // microseconds since the epoch
    char metric_type = 'C';       // 'C' counter, 'G' gauge
    std::uint8_t value_type = 1;  // 1 unsigned, 2 double, 3 bits, 4 signed
    std::uint8_t label_set_id = 0;
    LabelEncoding encoding = LabelEncoding::mixed;
    std::vector<EncodedLabel> labels = {};
    std::vector<MetricSample> samples = {};
};

// Collects what one block holds. Operations throw std::runtime_error, after an error line, when the
// format has no room for what they are given.
class CntxBuilder {
  public:
    // Number of the new label set.
    std::uint8_t add_label_set(const std::vector<std::string> &names);

    // A label given by its index in the table of label values, which holds each text once and at
    // most 256 of them.
    EncodedLabel label_by_id(const std::string &text);
    static EncodedLabel label_by_text(std::string text);

    // Sample id of the metric; the same for the same name.
    std::uint16_t add_metric(const std::string &name);

    void add_constant_label(const std::string &name, const std::string &value);
    void add_record(const CntxRecord &record);

    // The label set and values stand in the labels block; those of `histogram` are not looked at.
    void add_histogram(const Histogram &histogram, const CntxLabels &labels);

    // The block so far. Readers find its sections by their marks, so a mark inside a text or value
    // is refused where it would mislead them.
    std::string build() const;

    // Starts a new block without histograms and records on the same tables.
    void clear_records() {
        histograms_.clear();
        records_.clear();
    }

  private:
    std::vector<std::vector<std::string>> label_sets_;
    std::vector<std::string> label_values_;
    std::map<std::string, std::uint64_t> label_value_ids_;
    std::vector<std::string> metric_names_;
    std::map<std::string, std::uint16_t> metric_ids_;
    std::vector<std::string> constant_labels_;  // name, value, name, ...
    std::vector<std::string> histograms_;       // encoded
    std::string records_;                       // encoded
};

}  // namespace vrn::metrics
