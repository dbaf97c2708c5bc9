// The report of a run, as it goes to files and to the user.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "vrn_export/report_text.h"

namespace vrn::exporter {

// Gathers the reports of the files in their order.
class RunReport {
  public:
    using Write = std::function<void(const std::string &line)>;

    // Each of `writers` gets all lines.
    explicit RunReport(std::vector<Write> writers) : writers_(std::move(writers)) {}

    void add(const FileReport &report);
    // The last line.
    void finish(int status);

    const RunTotals &totals() const { return totals_; }

  private:
    void write(const std::string &line);

    std::vector<Write> writers_;
    RunTotals totals_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace vrn::exporter
