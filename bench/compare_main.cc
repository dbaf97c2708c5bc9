// vrn_read beside another build of it, by CPU time: paired runs that take turns.
//   vrn_compare_bench OTHER_VRN_READ [runs [event rows [counters rows]]]
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

namespace fs = std::filesystem;

constexpr std::size_t small_files = 1000;

struct Road {
    const char *name;
    const char *command;  // for the shell, in the folder of the data; $0 is the tool
};

constexpr Road roads[] = {
    {"events ndjson", "exec \"$0\" -f ndjson events.bin"},
    {"events ndjson, gzip file", "exec \"$0\" -f ndjson events.bin.gz"},
    {"events ndjson, gzip pages", "exec \"$0\" -f ndjson events.gzip.bin"},
    {"events ndjson, snappy pages", "exec \"$0\" -f ndjson events.snappy.bin"},
    {"events json", "exec \"$0\" -f json events.bin"},
    {"events influx", "exec \"$0\" -f influx events.bin"},
    {"events ndjson, to a pipe", "\"$0\" -f ndjson events.bin | cat"},
    {"gzip pages to data files",
     "rm -rf out; mkdir out; exec \"$0\" -f bin --output-dir out counters.gzip.bin"},
    {"counters ndjson", "exec \"$0\" -f ndjson counters.bin"},
    {"counters ndjson, metadata", "exec \"$0\" -v 4 -M -f ndjson counters.bin"},
    {"counters ndjson, gzip file", "exec \"$0\" -f ndjson counters.bin.gz"},
    {"counters ndjson, gzip pages", "exec \"$0\" -f ndjson counters.gzip.bin"},
    {"counters ndjson, snappy pages", "exec \"$0\" -f ndjson counters.snappy.bin"},
    {"counters json", "exec \"$0\" -f json counters.bin"},
    {"counters txt", "exec \"$0\" -f txt counters.bin"},
    {"metrics blocks ndjson", "exec \"$0\" -f ndjson metrics.bin"},
    {"1,000 files of 100 events", "exec \"$0\" -f ndjson -d small"},
    {"100 starts", "for i in $(seq 100); do \"$0\" --version >/dev/null; done"},
};

// `values` holds at least one.
double quantile(std::vector<double> values, double part) {
    std::ranges::sort(values);
    return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1) + 0.5)];
}

void measure(const Road &road, const std::string &before, int runs) {
    const auto command = [&](const std::string &tool) {
        return std::vector<std::string>{"/bin/sh", "-c", road.command, tool};
    };
    // The warm-up, too.
    const bool is_same = count_output(command(before)) == count_output(command(VRN_READ_PATH));
    std::vector<double> before_ms, ms, ratios;
    const auto time_of = [&](const std::string &tool, std::vector<double> *times) {
        times->push_back(run_child(command(tool)).cpu_seconds * 1e3);
    };
    for (int i = 0; i < runs; ++i) {
        if (i % 2 == 0) time_of(before, &before_ms);
        time_of(VRN_READ_PATH, &ms);
        if (i % 2 != 0) time_of(before, &before_ms);
        ratios.push_back(ms.back() / before_ms.back());
    }
    std::printf("| %-29s | %8.1f | %8.1f | %10.3f | %5.3f to %5.3f |%s\n", road.name,
                quantile(before_ms, 0.5), quantile(ms, 0.5), quantile(ratios, 0.5),
                quantile(ratios, 0.25), quantile(ratios, 0.75),
                is_same ? "" : " not as many bytes");
    std::fflush(stdout);
}

void run(const std::string &before, int runs, const BenchSizes &sizes) {
    const fs::path folder = fs::temp_directory_path() / "vrn-compare-bench";
    fs::remove_all(folder);
    write_bench_data(folder, sizes);
    write_copies(first_events(folder, 100), folder / "small", small_files);
    fs::current_path(folder);
    std::puts(
        "| road                          |   before |   CPU ms | new by old |  half of pairs |");
    std::puts(
        "|-------------------------------|----------|----------|------------|----------------|");
    for (const Road &road : roads) measure(road, before, runs);
    fs::current_path("/");
    fs::remove_all(folder);
}

}  // namespace
}  // namespace vrn::bench

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fputs("usage: vrn_compare_bench OTHER_VRN_READ [runs [events [counters]]]\n", stderr);
        return EXIT_FAILURE;
    }
    vrn::bench::BenchSizes sizes;
    if (argc > 3) sizes.event_rows = static_cast<std::uint32_t>(std::atoi(argv[3]));
    if (argc > 4) sizes.counter_rows = static_cast<std::uint32_t>(std::atoi(argv[4]));
    try {
        vrn::bench::run(std::filesystem::absolute(argv[1]),
                        std::max(argc > 2 ? std::atoi(argv[2]) : 11, 1), sizes);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_compare_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
