#include "vrn_chart/chart_options.h"

#include <utility>

namespace vrn::chart {
namespace {

// A browser draws no more; the bound keeps a slip in the option from taking the memory.
constexpr std::uint64_t max_samples = 1'000'000;

}  // namespace

tool::CommandLine make_command_line(ChartOptions *options) {
    std::vector<tool::Option> rows = {
        {"output", 'o', "FILE",
         "File to write (standard output). It is replaced when the page is whole.",
         [options](const char *value) { options->output = value; }},
        {"samples", 'n', "NUMBER", "Newest samples to take of each series (1000).",
         [options](const char *value) {
             options->samples = tool::number_value(value, 1, max_samples);
         }},
        {"show", 0, "PATTERN",
         "Show metrics whose name matches this shell pattern when the page is opened (may be given "
         "several times).",
         [options](const char *value) { options->shown_first.emplace_back(value); }},
        {"verbose", 'v', nullptr, "Tell of files that are passed over, too.",
         [options](const char *) { options->log_level = VRN_LOG_INFO; }}};
    const std::vector<tool::Option> more = series::series_option_rows(&options->series);
    rows.insert(rows.end() - 1, more.begin(), more.end());
    return {
        "vrn_chart", "file|folder ...",
        "Writes one HTML page with charts of the numbers in data files, to open in a browser.\n"
        "Of a folder it takes all data files below.\n",
        std::move(rows),
        "Metrics are shown under their names, counters with the labels source and group, and\n"
        "each number of an event as 'type.field' with the label source. Histograms are shown\n"
        "as series of their buckets, counts and sums. All series together have room for 1 GiB,\n"
        "at 16 bytes a sample. A file with more series is an error; the page shows those that\n"
        "fit.\n"};
}

}  // namespace vrn::chart
