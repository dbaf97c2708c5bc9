// End-to-end benchmark: whole runs of vrn_read over generated files, medians of several.
//   vrn_bench [runs [event rows [counters rows]]]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "bench_data.h"
#include "child_run.h"

namespace vrn::bench {
namespace {

struct Road {
    const char *name;
    const char *format;
    const char *file;
    std::uint32_t rows;
};

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void measure(const Road &road, const std::string &folder, int runs) {
    const std::string file = folder + "/" + road.file;
    const std::vector<std::string> command{VRN_READ_PATH, "-s",        folder + "/schema",
                                           "-f",          road.format, file};
    const auto input = static_cast<double>(std::filesystem::file_size(file));
    const auto output = static_cast<double>(count_output(command));  // the warm-up, too
    std::vector<double> seconds;
    std::uint64_t peak = 0;
    for (int i = 0; i < runs; ++i) {
        const ChildRun run = run_child(command);
        seconds.push_back(run.seconds);
        peak = std::max(peak, run.peak_memory);
    }
    const double time = median(seconds);
    constexpr double megabyte = 1e6;
    std::printf("| %-26s | %10.0f | %9.1f | %10.1f | %9.1f |\n", road.name, road.rows / time,
                input / megabyte / time, output / megabyte / time,
                static_cast<double>(peak) / megabyte);
    std::fflush(stdout);
}

void run(int runs, const BenchSizes &sizes) {
    const std::string folder = (std::filesystem::temp_directory_path() / "vrn-bench-data").string();
    write_bench_data(folder, sizes);
    std::printf(
        "| road                       |     rows/s | MB/s read | MB/s text  | peak MB   |\n");
    std::printf(
        "|----------------------------|------------|-----------|------------|-----------|\n");
    const Road roads[] = {
        {"events ndjson", "ndjson", "events.bin", sizes.event_rows},
        {"events json", "json", "events.bin", sizes.event_rows},
        {"counters ndjson", "ndjson", "counters.bin", sizes.counter_rows},
        {"counters json", "json", "counters.bin", sizes.counter_rows},
        {"counters txt", "txt", "counters.bin", sizes.counter_rows},
    };
    for (const Road &road : roads) measure(road, folder, runs);
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace vrn::bench

int main(int argc, char **argv) {
    const int runs = argc > 1 ? std::atoi(argv[1]) : 5;
    vrn::bench::BenchSizes sizes;
    if (argc > 2) sizes.event_rows = static_cast<std::uint32_t>(std::atoi(argv[2]));
    if (argc > 3) sizes.counter_rows = static_cast<std::uint32_t>(std::atoi(argv[3]));
    try {
        vrn::bench::run(std::max(runs, 1), sizes);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
