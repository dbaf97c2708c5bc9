// The text format of OpenMetrics, as promtool and VictoriaMetrics load it.
#pragma once

#include <memory>

#include "vrn_export/format/encoder.h"

namespace vrn::exporter {

std::unique_ptr<Format> make_openmetrics_format(const FormatOptions &options);

}  // namespace vrn::exporter
