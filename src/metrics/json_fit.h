// What a record must be for its block to become JSON, whether it is printed or not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "data/text/utf8.h"
#include "metrics/cntx_block_tables.h"
#include "metrics/metrics_batch.h"

namespace vrn::metrics {

// Texts end with their first NUL, as parson takes them.
inline std::string_view json_text_of(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

// JSON takes no text but UTF-8.
inline bool is_json_text(std::string_view text) {
    return is_ascii(text) || is_utf8(json_text_of(text));
}

// A record fits when each label of a known set has a text and a name, all values that it shows,
// constant labels too, are UTF-8, and each sample has a name.
class JsonFit {
  public:
    // `tables` must outlive it; its metric names aren't looked at.
    JsonFit(const CntxBlockTables &tables, std::size_t num_metric_names);

    // False after error lines; throws std::runtime_error. The cost doesn't grow with the number of
    // constant labels.
    bool fits(const MetricRecord &record) const;

  private:
    bool labels_fit(const MetricRecord &record) const;

    const CntxBlockTables &tables_;
    std::size_t num_metric_names_;
    // Names of the constant labels that fail each record that doesn't overwrite them.
    std::vector<std::string> unfit_constants_;
};

}  // namespace vrn::metrics
