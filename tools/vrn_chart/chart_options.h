// The command line of vrn_chart.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/command_line.h"
#include "series/series_options.h"
#include "utils/log.h"

namespace vrn::chart {

struct ChartOptions {
    std::string output;  // empty: standard output
    std::uint64_t samples = 1000;
    std::vector<std::string> shown_first;  // shell patterns over names
    series::SeriesOptions series;
    std::uint32_t log_level = VRN_LOG_WARNING;
};

// The command line that fills `options`, which outlive it.
tool::CommandLine make_command_line(ChartOptions *options);

}  // namespace vrn::chart
