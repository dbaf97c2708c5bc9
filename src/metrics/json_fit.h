// What a record must be for its block to become JSON, whether it is printed or not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "metrics/cntx_block_tables.h"
#include "metrics/metrics_batch.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

// Texts end with their first NUL, as parson takes them.
inline std::string_view json_text_of(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

// JSON takes no text but UTF-8.
bool is_utf8_json_text(std::string_view text);

// The last word overlaps the one before it.
inline bool is_ascii(std::string_view text) {
    constexpr std::size_t word = sizeof(std::uint64_t);
    constexpr std::size_t half = sizeof(std::uint32_t);
    const char *const end = text.data() + text.size();
    std::uint64_t all = 0;
    if (text.size() >= word) {
        for (const char *at = text.data(); at < end - word; at += word)
            all |= load_le<std::uint64_t>(at);
        all |= load_le<std::uint64_t>(end - word);
    } else if (text.size() >= half) {
        all = load_le<std::uint32_t>(text.data()) | load_le<std::uint32_t>(end - half);
    } else {
        for (const char character : text) all |= static_cast<unsigned char>(character);
    }
    return (all & 0x8080808080808080) == 0;
}

inline bool is_json_text(std::string_view text) {
    return is_ascii(text) || is_utf8_json_text(text);
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
