// What became of one input file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vrn_export/format/encoder.h"

namespace vrn::exporter {

struct FileReport {
    // Faults that are kept of one file; a hostile one has any number.
    static constexpr std::size_t max_faults = 10000;

    std::string path;
    std::string part;             // below the output folder; empty: none
    bool is_selected = true;      // by its header
    bool is_kept = false;         // the part is of an earlier run
    bool needs_retry = false;     // a fault's cause lies outside of the file
    std::string stale_part;       // of an earlier run, where this one has none
    std::uint64_t bytes_in = 0;   // as they stand on disk
    std::uint64_t bytes_out = 0;  // compressed, if so
    double seconds = 0;
    RecordCounts counts;
    std::uint64_t num_faults = 0;
    std::vector<FoundFault> faults;

    // A fault that only makes the one before it longer is not counted again.
    void add_fault(FoundFault fault) {
        needs_retry |= lies_outside_file(fault);
        const std::size_t before = faults.size();
        if (before < max_faults) append_fault(std::move(fault), &faults);
        if (before == max_faults || faults.size() > before) ++num_faults;
    }
};

}  // namespace vrn::exporter
