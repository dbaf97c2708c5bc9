// SQL over data files beside the engine's own Parquet and JSON: whole runs of vrn_sql, in turns,
// medians of several.
//   vrn_sql_bench [runs [event rows [folder]]]
// The files of a folder that is named are kept for the next run.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench_data.h"
#include "child_run.h"
#include "median.h"

namespace vrn::bench {
namespace {

constexpr std::uint64_t small_files = 2000;
// A header of 256 bytes and five whole blocks of counters.
constexpr std::uintmax_t small_size = 256 + 5 * 1616;

using Arguments = std::vector<std::string>;

struct Series {
    std::vector<double> seconds, cpu_seconds;
    std::uint64_t peak_memory = 0;

    void add(const ChildRun &run) {
        seconds.push_back(run.seconds);
        cpu_seconds.push_back(run.cpu_seconds);
        peak_memory = std::max(peak_memory, run.peak_memory);
    }
};

Arguments vrn_sql(const Arguments &arguments) {
    Arguments all = {VRN_SQL_PATH};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
}

// Two ways to one answer, in turns, so that both meet the same machine.
void compare(const char *name, const Arguments &ours, const Arguments &other, int runs) {
    Series our_runs, other_runs;
    for (int i = 0; i <= runs; ++i) {
        const ChildRun ours_run = run_child(vrn_sql(ours));
        const ChildRun other_run = run_child(vrn_sql(other));
        if (i == 0) continue;  // the warm-up
        our_runs.add(ours_run);
        other_runs.add(other_run);
    }
    const double seconds = median(our_runs.seconds);
    const double cpu_seconds = median(our_runs.cpu_seconds);
    std::printf("| %-38s | %7.3f | %7.3f | %9.2f | %8.2f | %7.1f |\n", name, seconds, cpu_seconds,
                seconds / median(other_runs.seconds), cpu_seconds / median(other_runs.cpu_seconds),
                static_cast<double>(our_runs.peak_memory) / 1e6);
    std::fflush(stdout);
}

// In a process of its own: what this one holds counts as peak memory of the runs it starts.
void write_data_apart(const std::string &folder, const BenchSizes &sizes) {
    const pid_t child = fork();
    if (child == 0) {
        write_bench_data(folder, sizes);
        _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) < 0 || status != 0)
        throw std::runtime_error("the files can't be written");
}

void write_small_files(const std::string &folder) {
    namespace fs = std::filesystem;
    fs::create_directory(folder + "/small");
    const std::string first = folder + "/small/0.bin";
    fs::copy_file(folder + "/counters.bin", first);
    fs::resize_file(first, small_size);
    for (std::uint64_t i = 1; i < small_files; ++i)
        fs::copy_file(first, folder + "/small/" + std::to_string(i) + ".bin");
}

void run(const std::string &folder, int runs) {
    const std::string events = folder + "/events.bin";
    const std::string parquet = folder + "/events.parquet";
    const std::string json = folder + "/events.ndjson";
    const std::string copy = folder + "/copy.parquet";
    const std::string group = "SELECT port, count(*), avg(rx_bytes) FROM ";
    run_child(vrn_sql({"-o", parquet, "FROM port_sample", events}));
    run_child(
        vrn_sql({"-o", json, "SELECT * EXCLUDE (source, tag, file) FROM port_sample", events}));
    const auto grouped = [&](const std::string &file) -> Arguments {
        return {group + "port_sample GROUP BY 1", folder + "/" + file};
    };
    const Arguments of_parquet = {group + "'" + parquet + "' GROUP BY 1"};
    std::printf(
        "|                                        |       s |   CPU s | of theirs | CPU, too | "
        "peak MB |\n"
        "|----------------------------------------|---------|---------|-----------|----------|-----"
        "----|\n");
    compare("one column grouped, to Parquet's", grouped("events.bin"), of_parquet, runs);
    compare("the same, to read_json's", grouped("events.bin"),
            {group + "read_json('" + json + "') GROUP BY 1"}, runs);
    compare("the same of snappy pages, to Parquet's", grouped("events.snappy.bin"), of_parquet,
            runs);
    compare("gzip pages, to those by one thread", grouped("events.gzip.bin"),
            {"SET threads = 1; " + grouped("events.gzip.bin")[0], folder + "/events.gzip.bin"},
            runs);
    compare("gzip file, to Parquet's", grouped("events.bin.gz"), of_parquet, runs);
    compare("to Parquet, to that from Parquet", {"-o", copy, "FROM port_sample", events},
            {"-o", copy, "FROM '" + parquet + "'"}, runs);
    compare("metrics by a label, to a count of them",
            {"SELECT labels['host'], count(*), avg(value) FROM metrics GROUP BY 1",
             folder + "/metrics.bin"},
            {"SELECT count(*) FROM metrics", folder + "/metrics.bin"}, runs);
    compare("count(*) of 2,000 files, to SELECT 1",
            {"SELECT count(*) FROM counters", folder + "/small"}, {"SELECT 1"}, runs);
}

}  // namespace
}  // namespace vrn::bench

int main(int argc, char **argv) {
    namespace bench = vrn::bench;
    const int runs = argc > 1 ? std::atoi(argv[1]) : 5;
    bench::BenchSizes sizes;
    if (argc > 2) sizes.event_rows = static_cast<std::uint32_t>(std::atoi(argv[2]));
    namespace fs = std::filesystem;
    const bool is_kept = argc > 3;
    const std::string folder =
        is_kept ? argv[3] : (fs::temp_directory_path() / "vrn-sql-bench-data").string();
    try {
        if (!is_kept) fs::remove_all(folder);
        if (!fs::exists(folder + "/events.bin")) bench::write_data_apart(folder, sizes);
        if (!fs::exists(folder + "/small")) bench::write_small_files(folder);
        bench::run(folder, runs);
        if (!is_kept) fs::remove_all(folder);
        return EXIT_SUCCESS;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_sql_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
