// Median of measurements.
#pragma once

#include <algorithm>
#include <vector>

namespace vrn::bench {

// `values` holds at least one.
inline double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

}  // namespace vrn::bench
