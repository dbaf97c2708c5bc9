// End-to-end benchmark: whole runs of vrn_read over generated files, medians of several.
//   vrn_bench [runs [event rows [counters rows]]]
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench_data.h"
#include "child_run.h"
#include "median.h"

namespace vrn::bench {
namespace {

struct Road {
    const char *name;
    const char *format;
    const char *file;
    std::uint32_t rows;
    const char *option = "-v6";  // the default
};

struct Series {
    std::vector<double> seconds, cpu_seconds;
    std::uint64_t peak_memory = 0;

    void add(const ChildRun &run) {
        seconds.push_back(run.seconds);
        cpu_seconds.push_back(run.cpu_seconds);
        peak_memory = std::max(peak_memory, run.peak_memory);
    }
};

// Of CPU times; "-" where there is nothing to compare with.
std::string ratio(const Series &limit, const Series &tool) {
    if (limit.cpu_seconds.empty()) return "-";
    char text[16];
    std::snprintf(text, sizeof text, "%.2f", median(limit.cpu_seconds) / median(tool.cpu_seconds));
    return text;
}

void print(const Road &road, const Series &tool, const Series &limit, const Series &zlib_limit) {
    std::printf("| %-29s | %9.0f | %10.0f | %8s | %8s | %7.2f |\n", road.name,
                road.rows / median(tool.seconds), road.rows / median(tool.cpu_seconds),
                ratio(limit, tool).c_str(), ratio(zlib_limit, tool).c_str(),
                static_cast<double>(tool.peak_memory) / 1e6);
    std::fflush(stdout);
}

std::vector<std::string> tool_command(const Road &road, const std::string &folder) {
    return {VRN_READ_PATH,           road.option, "-s", folder + "/schema", "-f", road.format,
            folder + "/" + road.file};
}

// Runs of the tool and of the limit take turns, so that both meet the same machine.
void measure(const Road &road, const std::string &folder, int runs) {
    const std::vector<std::string> tool = tool_command(road, folder);
    const std::vector<std::string> limit{VRN_LIMIT_PATH, road.format, folder + "/" + road.file};
    std::vector<std::string> zlib_limit = limit;
    zlib_limit.emplace_back("zlib");
    if (count_output(tool) != count_output(limit))  // the warm-up, too
        throw std::runtime_error(std::string("the limit prints another text: ") + road.name);
    const bool is_gzip = std::string_view(road.name).find("gzip") != std::string_view::npos;
    Series tool_runs, limit_runs, zlib_limit_runs;
    for (int i = 0; i < runs; ++i) {
        tool_runs.add(run_child(tool));
        limit_runs.add(run_child(limit));
        if (is_gzip) zlib_limit_runs.add(run_child(zlib_limit));
    }
    print(road, tool_runs, limit_runs, zlib_limit_runs);
}

// A road whose shape only a run tells.
void measure_alone(const Road &road, const std::string &folder, int runs) {
    const std::vector<std::string> tool = tool_command(road, folder);
    count_output(tool);
    Series series;
    for (int i = 0; i < runs; ++i) series.add(run_child(tool));
    print(road, series, {}, {});
}

// In a process of its own: what this one holds counts as peak memory of the runs it starts.
void write_bench_data_apart(const std::string &folder, const BenchSizes &sizes) {
    const pid_t child = fork();
    if (child == 0) {
        write_bench_data(folder, sizes);
        _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) < 0 || status != 0)
        throw std::runtime_error("cannot write the data");
}

void run(int runs, const BenchSizes &sizes) {
    const std::string folder = (std::filesystem::temp_directory_path() / "vrn-bench-data").string();
    write_bench_data_apart(folder, sizes);
    std::puts(
        "| road                          |    rows/s | rows/CPU s | of limit | by zlib  | peak MB "
        "|");
    std::puts(
        "|-------------------------------|-----------|------------|----------|----------|---------"
        "|");
    const std::uint32_t events = sizes.event_rows;
    const std::uint32_t counters = sizes.counter_rows;
    const Road roads[] = {
        {"events ndjson", "ndjson", "events.bin", events},
        {"events ndjson, gzip file", "ndjson", "events.bin.gz", events},
        {"events ndjson, gzip pages", "ndjson", "events.gzip.bin", events},
        {"events ndjson, snappy pages", "ndjson", "events.snappy.bin", events},
        {"events json", "json", "events.bin", events},
        {"events json, gzip file", "json", "events.bin.gz", events},
        {"events json, gzip pages", "json", "events.gzip.bin", events},
        {"events json, snappy pages", "json", "events.snappy.bin", events},
        {"counters ndjson", "ndjson", "counters.bin", counters},
        {"counters ndjson, gzip file", "ndjson", "counters.bin.gz", counters},
        {"counters ndjson, gzip pages", "ndjson", "counters.gzip.bin", counters},
        {"counters ndjson, snappy pages", "ndjson", "counters.snappy.bin", counters},
        {"counters json", "json", "counters.bin", counters},
        {"counters json, gzip file", "json", "counters.bin.gz", counters},
        {"counters json, gzip pages", "json", "counters.gzip.bin", counters},
        {"counters json, snappy pages", "json", "counters.snappy.bin", counters},
    };
    for (const Road &road : roads) measure(road, folder, runs);
    measure_alone({"metrics blocks ndjson", "ndjson", "metrics.bin", metrics_blocks}, folder, runs);
    measure_alone({"events influx", "influx", "events.bin", events}, folder, runs);
    for (const char *format : {"ndjson", "json"}) {
        const std::string name = std::string("counters ") + format + ", metadata";
        measure_alone({name.c_str(), format, "counters.bin", counters, "--metadata"}, folder, runs);
    }
    measure_alone({"counters txt", "txt", "counters.bin", counters}, folder, runs);
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
