// Tables of comma-separated values by RFC 4180. Form of the tables: docs/export-formats.md, "csv".
#pragma once

#include <memory>

#include "vrn_export/format/encoder.h"

namespace vrn::exporter {

// Throws as make_format().
std::unique_ptr<Format> make_csv_format(const FormatOptions &options);

}  // namespace vrn::exporter
