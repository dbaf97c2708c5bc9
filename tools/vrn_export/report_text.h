// Reports as lines of JSON.
#pragma once

#include <cstdint>
#include <string>

#include "vrn_export/file_report.h"

namespace vrn::exporter {

// Of all files of a run.
struct RunTotals {
    std::uint64_t files = 0;
    std::uint64_t kept = 0;          // from an earlier run
    std::uint64_t not_selected = 0;  // by their headers
    std::uint64_t damaged = 0;
    std::uint64_t faults = 0;
    std::uint64_t bytes_in = 0;
    std::uint64_t bytes_out = 0;
    RecordCounts counts;

    void add(const FileReport &report);
};

// Lines with their ends.
std::string report_line(const FileReport &report);
std::string totals_line(const RunTotals &totals, double seconds, int status);

// What a line of report_line() tells of a file. False when it is none.
[[nodiscard]] bool parse_report_line(const std::string &line, FileReport *report);
// Whether it is one of totals_line(), which ends a report.
bool is_totals_line(const std::string &line);

}  // namespace vrn::exporter
