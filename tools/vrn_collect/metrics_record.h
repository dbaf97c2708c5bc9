// A machine sample as one CNTX block, with labels.
#pragma once

#include <string>

#include "metrics/cntx_builder.h"
#include "vrn_collect/proc_sample.h"

namespace vrn::collect {

// Builds the blocks of one run: label sets, names and constant labels are the same in each.
class MetricsRecord {
  public:
    MetricsRecord();

    std::string make_block(const ProcSample &sample);

  private:
    // Adds one record of counters or gauges ('C', 'G') that share their labels.
    void add(char metric_type, std::uint8_t label_set, std::vector<metrics::EncodedLabel> labels,
             const std::vector<std::pair<const char *, std::uint64_t>> &values);

    metrics::CntxBuilder builder_;
    std::uint64_t timestamp_ = 0;
    std::uint8_t machine_set_;
    std::uint8_t cpu_set_;
    std::uint8_t interface_set_;
    std::uint8_t device_set_;
};

}  // namespace vrn::collect
