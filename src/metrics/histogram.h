// Native histograms as HIST sections of a CNTX block carry them.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "utils/byte_reader.h"

namespace vrn::metrics {

// In memory as in the stream.
struct Bucket {
    double upper_bound;
    std::uint64_t count;
};
static_assert(sizeof(Bucket) == 16);

struct Histogram {
    std::vector<Bucket> buckets;  // ascending by upper bound
    double sum = 0;
    std::uint64_t count = 0;
    std::string name;
    std::uint64_t timestamp = 0;  // microseconds; 0 until the first observation
    std::uint64_t label_set_id = 0;
    std::uint64_t report_time = 0;         // microseconds
    std::uint64_t report_interval_ms = 0;  // 0 means never due
    std::vector<std::string> label_values;

    // Fills `histogram` from the section whose mark starts `section`; the bytes end with the range
    // that is scanned. Returns the offset behind its labels block. Throws std::runtime_error when
    // the section leaves the range or a label has no text.
    static std::uint64_t parse(Bytes section, const std::vector<std::string> &label_values,
                               Histogram *histogram);
};

struct HistogramSet {
    std::unordered_map<std::uint64_t, Histogram> histograms;

    // 0 for an empty set, else one above the highest id present.
    std::uint64_t next_id() const;

    // Adds the histograms of all HIST sections in `range`; returns the bytes behind the last one.
    // Throws what Histogram::parse throws; the histograms before the fault stay.
    Bytes parse_sections(Bytes range, const std::vector<std::string> &label_values);
};

}  // namespace vrn::metrics
