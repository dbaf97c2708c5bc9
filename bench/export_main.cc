// vrn_export against vrn_read on one core, and two threads against one, in alternating runs; how
// fast vrn_check is.
//   vrn_export_bench [runs [folder]]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench_data.h"
#include "child_run.h"
#include "data/data_file_header.h"
#include "median.h"

namespace vrn::bench {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t medium_files = 2000;   // of a chunk each: 64 KB
constexpr std::size_t tiny_files = 100'000;  // of an event each: 387 bytes

using Command = std::vector<std::string>;

struct Pair {
    std::vector<double> wall, cpu;  // second by first
    std::uint64_t peak_memory = 0;  // of the second
};

// Runs take turns, so that what else the machine does meets both.
Pair compare(const Command &first, const Command &second, int runs) {
    Pair pair;
    for (int i = 0; i < runs; ++i) {
        const ChildRun one = run_child(first);
        const ChildRun two = run_child(second);
        pair.wall.push_back(two.seconds / one.seconds);
        pair.cpu.push_back(two.cpu_seconds / one.cpu_seconds);
        pair.peak_memory = std::max(pair.peak_memory, two.peak_memory);
    }
    return pair;
}

// Rates are inverse times; `work` is how much more the second command has to do.
void print_rates(const char *name, const Pair &pair, double work) {
    std::printf("| %-34s | %6.2f | %6.2f | %7.1f |\n", name, work / median(pair.wall),
                work / median(pair.cpu), static_cast<double>(pair.peak_memory) / 1e6);
    std::fflush(stdout);
}

void print_check_rate(const fs::path &input, int runs) {
    // The files have made-up schema ids and headers without an end, which it tells.
    constexpr int faults_status = 1;
    std::vector<double> cpu;
    for (int i = 0; i < runs; ++i)
        cpu.push_back(run_child({VRN_CHECK_PATH, "-j", "1", input}, faults_status).cpu_seconds);
    std::printf("vrn_check -j 1, %s: %.1f GB a CPU second\n", input.filename().c_str(),
                static_cast<double>(fs::file_size(input)) / 1e9 / median(cpu));
}

std::string read_bytes(const fs::path &path, std::size_t size) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes(size, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(size));
    return bytes;
}

void run(int runs, const fs::path &folder) {
    fs::remove_all(folder);
    write_bench_data(folder, {});
    const std::string chunk =
        read_bytes(folder / "events.bin", sizeof(vrn_data_file_header_t) + chunk_size);
    write_copies(chunk, folder / "medium", medium_files);
    write_copies(first_events(folder, 1), folder / "tiny", tiny_files);
    const std::string schemas = folder / "schema";
    const auto exporter = [&](const char *threads, const fs::path &input) {
        return Command{VRN_EXPORT_PATH, "-j", threads, "-s", schemas, input};
    };
    const auto reader = [&](const fs::path &input) {
        return Command{VRN_READ_PATH, "-f", "ndjson", "-s", schemas, input};
    };
    std::puts("| rate                               |   wall |    CPU | peak MB |");
    std::puts("|------------------------------------|--------|--------|---------|");
    for (const char *name : {"events", "counters", "metrics"}) {
        const fs::path input = folder / (std::string(name) + ".bin");
        const double work = static_cast<double>(count_output(exporter("1", input))) /
                            static_cast<double>(count_output(reader(input)));
        const Pair pair = compare(reader(input), exporter("1", input), runs);
        print_rates((std::string(name) + ": -j 1 by vrn_read, rows").c_str(), pair, 1);
        print_rates((std::string(name) + ": the same, bytes of text").c_str(), pair, work);
    }
    print_rates(
        "one file of 115 MB: -j 2 by -j 1",
        compare(exporter("1", folder / "events.bin"), exporter("2", folder / "events.bin"), runs),
        1);
    print_rates("2,000 of 64 KB: -j 2 by -j 1",
                compare(exporter("1", folder / "medium"), exporter("2", folder / "medium"), runs),
                1);
    Command parts = exporter("2", folder / "tiny");
    const ChildRun stream = run_child(parts);
    parts.insert(parts.end(), {"-o", folder / "out"});
    const ChildRun in_parts = run_child(parts);
    std::printf(
        "\n100,000 files of 387 bytes, -j 2: %.2f s and %.1f MB as a stream, %.2f s and "
        "%.1f MB as parts\n",
        stream.seconds, static_cast<double>(stream.peak_memory) / 1e6, in_parts.seconds,
        static_cast<double>(in_parts.peak_memory) / 1e6);
    for (const char *name : {"events.bin", "counters.bin", "metrics.bin"})
        print_check_rate(folder / name, runs);
    fs::remove_all(folder);
}

}  // namespace
}  // namespace vrn::bench

int main(int argc, char **argv) {
    namespace fs = std::filesystem;
    try {
        const fs::path parent = argc > 2 ? fs::path(argv[2]) : fs::temp_directory_path();
        vrn::bench::run(std::max(argc > 1 ? std::atoi(argv[1]) : 5, 1),
                        parent / "vrn-export-bench");
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_export_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
