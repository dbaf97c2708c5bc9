// One histogram at one time: the element of a series of histograms.
#pragma once

#include <cstdint>
#include <vector>

namespace vrn::metrics {

// In memory as in the stream.
struct Bucket {
    double upper_bound;
    std::uint64_t count;  // of the observations at or below the bound
};
static_assert(sizeof(Bucket) == 16);

struct HistogramBuckets {
    std::vector<Bucket> buckets;  // ascending by upper bound
    double sum = 0;
    std::uint64_t count = 0;
};

}  // namespace vrn::metrics
