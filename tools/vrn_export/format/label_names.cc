#include "vrn_export/format/label_names.h"

#include <algorithm>
#include <utility>

#include "vrn_export/format/unique_names.h"

namespace vrn::exporter {

const std::vector<std::string> &LabelNames::of(std::span<const MetricLabel> labels) {
    if (std::ranges::equal(labels, given_, {}, &MetricLabel::name)) return names_;
    given_.clear();
    std::vector<std::string> names;
    names.reserve(labels.size());
    for (const MetricLabel &label : labels) {
        given_.emplace_back(label.name);
        names.push_back(make_(label.name));
    }
    names_ = unique_names(std::move(names), reserved_);
    return names_;
}

}  // namespace vrn::exporter
