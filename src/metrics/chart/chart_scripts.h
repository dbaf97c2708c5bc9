// The scripts that a chart page carries, as texts. The build makes them from their files.
#pragma once

#include <array>
#include <cstddef>

namespace vrn::metrics {

inline constexpr std::size_t CHART_LIBRARY_COUNT = 3;

// The libraries (Chart.js, its adapter for dates, its zoom plugin), then the modules of
// src/metrics/chart.
using ChartScripts = std::array<const char *, 12>;

extern const ChartScripts chart_scripts;

}  // namespace vrn::metrics
