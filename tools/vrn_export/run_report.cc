#include "vrn_export/run_report.h"

#include "common/shown_text.h"
#include "common/tool_main.h"

namespace vrn::exporter {

void RunReport::add(const FileReport &report) {
    totals_.add(report);
    if (!writers_.empty()) write(report_line(report));
}

void RunReport::finish(int status) {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start_;
    if (!writers_.empty()) write(totals_line(totals_, time.count(), status));
}

void RunReport::write(const std::string &line) {
    for (const Write &writer : writers_) writer(line);
}

}  // namespace vrn::exporter
