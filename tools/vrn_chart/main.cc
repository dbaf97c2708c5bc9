// vrn_chart: shows the metrics of data files as a chart page.
#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "metrics/chart/chart_page.h"
#include "utils/log.h"
#include "utils/parse_number.h"
#include "vrn_chart/metrics_input.h"

namespace vrn::chart {
namespace {

constexpr char help[] =
    "Usage: vrn_chart [options] file.bin ...\n"
    "Writes one HTML page with charts of the metrics in data files, to open in a browser.\n"
    "  -o, --output file      File to write (standard output).\n"
    "  -n, --samples number   Newest samples to take of each series (1000).\n"
    "  -h, --help             Print this message.\n"
    "All series together have room for 1 GiB, at 16 bytes a sample. A file with more\n"
    "series is an error; the page shows those that fit.\n";

constexpr option long_options[] = {
    {"output", required_argument, nullptr, 'o'},
    {"samples", required_argument, nullptr, 'n'},
    {"help", no_argument, nullptr, 'h'},
    {nullptr, 0, nullptr, 0},
};

constexpr std::uint32_t max_samples = 1'000'000;
constexpr std::uint64_t max_store_bytes = std::uint64_t{1} << 30;

struct ChartOptions {
    std::string output;  // empty: standard output
    std::uint32_t samples = 1000;
    std::vector<std::string> files;
};

[[noreturn]] void refuse() {
    std::fputs(help, stderr);
    std::exit(EXIT_FAILURE);
}

std::uint32_t parse_samples(const char *text) {
    std::uint32_t samples = 0;
    if (vrn_parse_u32(text, &samples) && samples > 0 && samples <= max_samples) return samples;
    std::fprintf(stderr, "vrn_chart: --samples takes a number from 1 to %u, %s is given.\n",
                 max_samples, text);
    std::exit(EXIT_FAILURE);
}

ChartOptions parse_options(int argc, char **argv) {
    ChartOptions options;
    int code = 0;
    while ((code = getopt_long(argc, argv, "o:n:h", long_options, nullptr)) != -1) {
        switch (code) {
            case 'o':
                options.output = optarg;
                break;
            case 'n':
                options.samples = parse_samples(optarg);
                break;
            case 'h':
                std::fputs(help, stdout);
                std::exit(EXIT_SUCCESS);
            default:
                refuse();
        }
    }
    options.files.assign(argv + optind, argv + argc);
    if (options.files.empty()) refuse();
    return options;
}

bool write_page(const ChartOptions &options, const metrics::MetricsHistory &store) {
    std::ofstream file;
    if (!options.output.empty()) file.open(options.output, std::ios::binary);
    std::ostream &out = options.output.empty() ? std::cout : file;
    metrics::write_chart_page(out, store, 0);
    if (out.flush()) return true;
    std::fprintf(stderr, "vrn_chart: can't write %s\n",
                 options.output.empty() ? "standard output" : options.output.c_str());
    return false;
}

// A page is written even if files fail, with what could be read.
bool show_metrics(const ChartOptions &options) {
    metrics::MetricsHistory store;
    store.set_default_capacity(options.samples);
    store.set_max_bytes(max_store_bytes);
    bool read_all = true;
    for (const std::string &path : options.files) read_all &= read_metrics(path, &store);
    return write_page(options, store) && read_all;
}

}  // namespace
}  // namespace vrn::chart

int main(int argc, char **argv) {
    vrn_init_stderr_logger(VRN_LOG_WARNING);
    try {
        const vrn::chart::ChartOptions options = vrn::chart::parse_options(argc, argv);
        return vrn::chart::show_metrics(options) ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_chart: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
