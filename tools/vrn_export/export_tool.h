// What vrn_export does with its command line.
#pragma once

#include <string>
#include <vector>

#include "vrn_export/export_options.h"

namespace vrn::exporter {

// Returns the exit status. Throws tool::UsageError, and std::exception when the run fails.
int run_export(const ExportOptions &options, const std::vector<std::string> &operands);

}  // namespace vrn::exporter
