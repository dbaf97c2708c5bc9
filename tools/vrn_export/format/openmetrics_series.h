// Series and samples of OpenMetrics, with the keys that put their lines in order.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "data/text/text_buffer.h"
#include "vrn_export/format/record_encoder.h"

namespace vrn::exporter {

// In the order in which samples stand in a family that has several types. Of its lines "# TYPE" the
// greatest stays.
enum class FamilyType : char { histogram = '0', gauge = '1', counter = '2' };

// Labels of a series: name="value",...
class OpenMetricsLabels {
  public:
    void clear() { text_.clear(); }
    // `name` is valid, and new here. An empty value is as good as none.
    void add(std::string_view name, std::string_view value);
    void add_origin(const Origin &origin);

    std::string_view text() const { return text_.view(); }
    // Without tabs, which end keys.
    void append_key(TextBuffer *to) const;

  private:
    TextBuffer text_;
};

// What tells the samples of a histogram apart.
struct SamplePart {
    std::string_view suffix;  // of the name
    std::string_view bound;   // of a bucket
    std::string_view order;   // among those of one time
};

// A family, or the part of it that has one more label: the name as the data file has it, where the
// family's doesn't tell it.
class OpenMetricsSeries {
  public:
    // `name` is valid.
    OpenMetricsSeries(std::string name, FamilyType type, std::string_view label = "",
                      std::string_view label_value = "");

    // The line "# TYPE", once a run: an output begins with one.
    void announce(const Output &out);

    // A sample up to its value, which the caller appends.
    void begin(const OpenMetricsLabels &labels, std::uint64_t time, const SamplePart &part,
               TextBuffer *text) const;
    static void end(std::uint64_t time, TextBuffer *text);

    std::size_t text_size() const { return 2 * (name_.size() + label_.text().size()); }

  private:
    std::string name_;
    FamilyType type_;
    OpenMetricsLabels label_;
    std::uint64_t run_ = 0;
};

}  // namespace vrn::exporter
