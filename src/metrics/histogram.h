// A native histogram, filled by observations or read from a HIST section of a CNTX block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "metrics/histogram_buckets.h"
#include "metrics/preallocated_vector.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

struct Histogram {
    std::vector<Bucket> buckets = {};  // ascending by upper bound
    double sum = 0;
    std::uint64_t count = 0;
    std::string name = {};
    std::uint64_t timestamp = 0;  // microseconds; 0 until the first observation
    std::uint64_t label_set_id = 0;
    std::uint64_t report_time = 0;         // microseconds
    std::uint64_t report_interval_ms = 0;  // 0 means never due
    std::vector<std::string> label_values = {};

    // Fills `histogram` from the section whose mark starts `section`; the bytes end with the range
    // that is scanned. Returns the offset after its labels block. Throws std::runtime_error when
    // the section leaves the range or a label has no text.
    static std::uint64_t parse(Bytes section, const std::vector<std::string> &label_values,
                               Histogram *histogram);

    void observe(double value);

    // In microseconds; 0 means now, all ones change nothing.
    void set_timestamp(std::uint64_t time);

    void set_report_interval(std::uint64_t interval_ms);
    // Histograms without label values are never due.
    bool is_due() const;
    // Forgets the observations; bounds and timestamp stay.
    void reset();

    // Bytes of the section with a labels block of `labels_size` bytes.
    std::size_t serialized_size(std::size_t labels_size) const;
    // Appends the section. Throws std::out_of_range when it doesn't fit; what fitted stays. The
    // name and the buckets number less than 256, which is up to the caller.
    void serialize(Bytes labels_block, PreallocatedVector *out) const;
};

}  // namespace vrn::metrics
