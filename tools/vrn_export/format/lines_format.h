// The line protocol of InfluxDB, also taken by VictoriaMetrics.
#pragma once

#include <memory>

#include "vrn_export/format/encoder.h"

namespace vrn::exporter {

std::unique_ptr<Format> make_lines_format(const FormatOptions &options);

}  // namespace vrn::exporter
