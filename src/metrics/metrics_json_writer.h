// CNTX blocks as JSON text.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "data/text/json_text.h"
#include "data/text/local_time_text.h"
#include "metrics/cntx_block_view.h"
#include "metrics/printed_records.h"
#include "metrics/record_view.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

// Reads and writes one block after the other. Of the records of a block only the last one and the
// last one with known labels are printed, so one walk checks all of them in place and keeps what it
// saw of these two. Memory is kept from block to block and doesn't grow with the records.
class MetricsJsonWriter {
  public:
    // Walks the block that starts `bytes`, which must stay in place until it is written; its first
    // "CNTX" tells its size. Throws std::runtime_error when it is malformed, with the lines of
    // VrnMetricsParser's find_cntx_total_size(), parse_cntx_block() and parse_constant_labels().
    void read(Bytes bytes);

    // Appends what parson prints for metrics_to_json() of the block. Nothing is appended, after
    // an error line, when there is no such tree, which is told by false, or memory runs out, by
    // std::bad_alloc.
    [[nodiscard]] bool write(bool microseconds, JsonText *text);

  private:
    enum class Fit : std::uint8_t { unknown, yes, no };
    class RecordLook;
    class MemberWriter;

    void read_records();
    [[nodiscard]] bool find_value_fit(std::uint8_t id);
    bool constants_fit() const;
    [[nodiscard]] bool check_records() const;
    [[nodiscard]] bool write_members(bool microseconds, JsonText *text);
    template <typename Map>
    void set_constant_labels(Map *labels) const {
        for (std::size_t i = 0; i + 1 < constants_.size(); i += 2)
            (*labels)[typename Map::key_type(constants_[i])] = constants_[i + 1];
    }

    CntxBlockView block_;
    std::vector<std::string_view> constants_;  // name, value, name, value
    PrintedRecords<RecordView> printed_;
    // Whether each record fits for all that a quick look shows. JsonFit may find that it does.
    bool records_fit_ = false;
    std::array<Fit, 256> value_fits_;  // of label values, once they are used
    LocalTimeText time_;
};

}  // namespace vrn::metrics
