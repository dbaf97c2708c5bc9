// The names that the labels of metrics have in an output.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vrn_export/format/metrics_reader.h"

namespace vrn::exporter {

// Keeps the names of the last record: the next one mostly has the same.
class LabelNames {
  public:
    using MakeName = std::string (*)(std::string_view);

    // `make` turns a label's name into one that is valid; see unique_names() for `reserved`, which
    // is borrowed.
    LabelNames(MakeName make, std::span<const std::string_view> reserved)
        : make_(make), reserved_(reserved) {}

    // Those of `labels`, in their order; valid until the next call.
    const std::vector<std::string> &of(std::span<const MetricLabel> labels);

  private:
    MakeName make_;
    std::span<const std::string_view> reserved_;
    std::vector<std::string> given_;
    std::vector<std::string> names_;
};

}  // namespace vrn::exporter
