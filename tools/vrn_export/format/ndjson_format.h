// One JSON object a line. Form of the records: docs/export-formats.md, "ndjson".
#pragma once

#include <memory>

#include "vrn_export/format/encoder.h"

namespace vrn::exporter {

// Throws as make_format().
std::unique_ptr<Format> make_ndjson_format(const FormatOptions &options);

}  // namespace vrn::exporter
