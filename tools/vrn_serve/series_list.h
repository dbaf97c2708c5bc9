// The series of a store by what they are called.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "metrics/store/typed_metrics_data.h"

namespace vrn::serve {

struct NamedSeries {
    std::string name;
    std::vector<std::pair<std::string, std::string>> labels;  // by name
    metrics::SeriesKey key;
};

// Of a LiveStore, in the order of names and labels, all in plain text.
std::vector<NamedSeries> list_series(const metrics::MetricsHistory &store);

// `value` as it reads back the same.
std::string number_text(double value);
std::string number_text(std::uint64_t value);
std::string number_text(long value);

}  // namespace vrn::serve
