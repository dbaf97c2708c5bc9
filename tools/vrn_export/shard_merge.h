// The shards of an export put together.
#pragma once

#include <string>

namespace vrn::exporter {

// Checks that all shards in the folder are there, were made of the same inputs by the same options,
// and that each of their parts stands with its size. Then prints the names of the parts, in order,
// and writes the reports as one to `report_file`, unless that is empty. Returns the exit status of
// the whole export. Throws std::runtime_error when something is missing.
int merge_shards(const std::string &folder, const std::string &report_file);

}  // namespace vrn::exporter
