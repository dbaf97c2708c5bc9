// Faults of the metrics blocks that stand in one run of bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "metrics/cntx_block_view.h"
#include "metrics/record_view.h"
#include "utils/byte_reader.h"

namespace vrn::check {

// What is found, at offsets in the run.
struct MetricsFindings {
    std::function<void(std::size_t offset, std::size_t lost, const char *kind, std::string reason)>
        fault;
    std::function<void(std::size_t offset, std::uint64_t time)> time;
};

// Used for one run after the other it keeps its memory.
class MetricsCheck {
  public:
    explicit MetricsCheck(MetricsFindings findings) : findings_(std::move(findings)) {}

    // `bytes` begin with a block; more may follow it, and then padding.
    void check(Bytes bytes);

  private:
    void check_block(Bytes block);
    void check_records(Bytes block);
    std::string names_beyond_tables(const metrics::RecordView &record) const;
    std::size_t offset_of(const std::uint8_t *place) const;

    MetricsFindings findings_;
    metrics::CntxBlockView view_;
    Bytes run_;
};

}  // namespace vrn::check
