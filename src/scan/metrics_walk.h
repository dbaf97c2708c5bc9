// The metrics blocks in one run of bytes, and what is wrong with them.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "metrics/cntx_block_view.h"
#include "metrics/record_view.h"
#include "utils/byte_reader.h"

namespace vrn::scan {

// Of one block.
struct MetricsTables {
    metrics::CntxBlockView view;
    std::vector<std::string_view> constants;  // name, value, name, value
};

// What is found, at offsets in the run.
struct MetricsFindings {
    using Fault = std::function<void(std::size_t offset, std::size_t lost, const char *kind,
                                     std::string reason)>;

    // A block whose tables hold; its records come next unless the answer is false.
    std::function<bool(const MetricsTables &)> tables;
    // One that names only what the tables have, and lies within the block's records. A record
    // without labels needs no label set.
    std::function<void(std::size_t offset, const metrics::RecordView &)> record;
    // `kind`: a word for programs, of static life.
    Fault fault;
};

// Calls `visit` with each block of a run, which begins with one; after the last there may be
// padding.
void split_metrics(Bytes run, const std::function<void(Bytes block)> &visit,
                   const MetricsFindings::Fault &fault);

// Goes on after every fault. Used for one run after the other it keeps its memory.
class MetricsWalk {
  public:
    explicit MetricsWalk(MetricsFindings findings) : findings_(std::move(findings)) {}

    void walk(Bytes run);

  private:
    [[nodiscard]] bool read_tables(Bytes block);
    void walk_records(Bytes block);
    std::string beyond_tables(const metrics::RecordView &record) const;
    std::size_t offset_of(const std::uint8_t *place) const {
        return static_cast<std::size_t>(place - run_.data());
    }

    MetricsFindings findings_;
    MetricsTables tables_;
    Bytes run_;
};

}  // namespace vrn::scan
