// Benchmark of the data writer: pages to data files, against `cat` of the same bytes to the same
// disk, medians of runs that take turns. Neither waits for the disk itself.
//   vrn_write_bench [runs [megabytes [folder]]]
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "child_run.h"
#include "data/block.h"
#include "data/data_file_header.h"
#include "data/writer/data_writer.h"
#include "median.h"
#include "utils/descriptor.h"
#include "utils/log.h"

namespace vrn::bench {
namespace {

constexpr double megabyte = 1e6;
constexpr std::uint64_t start_time = 1'700'000'000'000'000;

// A full page of counters blocks, `block_size` bytes each.
vrn_data_page_ptr make_page(std::uint32_t block_size, std::uint64_t data_size) {
    constexpr vrn_page_memory_t memory = {VRN_PAGE_MEMORY_REGULAR, 0, "bench"};
    vrn_data_page_ptr page(
        vrn_data_page_allocate(block_size, VRN_DATA_PAGE_HEADER_SIZE + data_size, memory));
    void *space = nullptr;
    std::uint64_t room = 0;
    vrn_data_page_get_free_space(page.get(), &space, &room);
    std::memset(space, 0x55, room);
    for (std::uint64_t at = 0; at + block_size <= room; at += block_size)
        vrn_block_set_magic(static_cast<char *>(space) + at, VRN_COUNTERS_BLOCK);
    vrn_data_page_consume_free_space(page.get(), room);
    std::strcpy(page->source.source, "node7");
    std::strcpy(page->source.tag, "bench");
    return page;
}

double cpu_seconds() {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

struct Cost {
    double seconds;
    double cpu_seconds;
};

// Stores pages under a folder.
using Write = void (*)(const std::string &folder, vrn_data_page_t *page, std::uint64_t count);

// The end of the last file included.
void write_pages(const std::string &folder, vrn_data_page_t *page, std::uint64_t count) {
    const vrn_client_id_t client_id = {"bench", 0};
    vrn_data_writer_ptr writer(vrn_data_writer_create(&client_id));
    static_cast<void>(vrn_data_writer_set_data_dir(writer.get(), folder.c_str()));
    static_cast<void>(
        vrn_data_writer_set_counters_path_template(writer.get(), "{{tag}}{{id}}.bin"));
    for (std::uint64_t i = 0; i < count; ++i) {
        page->first_ts = page->last_ts = start_time + i;
        static_cast<void>(vrn_data_writer_write_page(writer.get(), page, nullptr));
    }
}

// What no writer can do without that has each page with the kernel when a call returns.
void write_alone(const std::string &folder, vrn_data_page_t *page, std::uint64_t count) {
    std::filesystem::create_directories(folder);
    const Descriptor file(::open((folder + "/file").c_str(), O_CREAT | O_WRONLY | O_APPEND, 0666));
    const char *data = reinterpret_cast<const char *>(page) + VRN_DATA_PAGE_HEADER_SIZE;
    const std::uint64_t size = page->page_size - VRN_DATA_PAGE_HEADER_SIZE;
    ssize_t written = ::write(file.get(), data, sizeof(vrn_data_file_header_t));
    for (std::uint64_t i = 0; i < count && written > 0; ++i)
        written = ::write(file.get(), data, size);
}

Cost cost_of(Write write, const std::string &folder, vrn_data_page_t *page, std::uint64_t count) {
    const auto begin = std::chrono::steady_clock::now();
    const double cpu_begin = cpu_seconds();
    write(folder, page, count);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    return {time.count(), cpu_seconds() - cpu_begin};
}

void check_size(const std::string &folder, std::uint64_t expected) {
    std::uint64_t size = 0;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) size += entry.file_size();
    if (size < expected) throw std::runtime_error("not all pages were stored in " + folder);
}

struct Road {
    const char *name;
    std::uint32_t block_size;
    std::uint64_t data_size;  // of a page
    Write write = write_pages;
};

void measure(const Road &road, const std::string &folder, int runs, std::uint64_t total) {
    namespace fs = std::filesystem;
    const vrn_data_page_ptr page = make_page(road.block_size, road.data_size);
    const std::uint64_t count = total / road.data_size;
    const std::string data = folder + "/data";
    const std::string copy = folder + "/copy";
    const std::vector<std::string> cat{"/bin/sh", "-c", "cat " + data + "/* >" + copy};
    std::vector<double> seconds, ratios, cpu_ratios;
    for (int i = 0; i < runs; ++i) {
        fs::remove_all(data);
        fs::remove(copy);
        const Cost written = cost_of(road.write, data, page.get(), count);
        check_size(data, count * road.data_size);
        const ChildRun copied = run_child(cat);
        seconds.push_back(written.seconds);
        ratios.push_back(copied.seconds / written.seconds);
        cpu_ratios.push_back(copied.cpu_seconds / written.cpu_seconds);
    }
    const double bytes = static_cast<double>(count * road.data_size) / megabyte;
    const double time = median(seconds);
    std::printf("| %-24s | %9.0f | %7.0f | %6.2f | %8.2f |\n", road.name,
                static_cast<double>(count) / time, bytes / time, median(ratios),
                median(cpu_ratios));
    std::fflush(stdout);
}

void run(int runs, std::uint64_t total, const std::string &parent) {
    const std::string folder = parent + "/vrn-write-bench-data";
    std::filesystem::create_directories(folder);
    std::printf("| pages                    |   pages/s |    MB/s | of cat | CPU, too |\n");
    std::printf("|--------------------------|-----------|---------|--------|----------|\n");
    const Road roads[] = {
        {"4 KiB, one block", 4096, 4096},
        {"4 KiB, write(2) alone", 4096, 4096, write_alone},
        {"64 KiB, one block", 65536, 65536},
        {"64 KiB, blocks of 4 KiB", 4096, 65536},
        {"1 MiB, blocks of 64 KiB", 65536, 1 << 20},
    };
    for (const Road &road : roads) measure(road, folder, runs, total);
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace vrn::bench

int main(int argc, char **argv) {
    vrn_init_stderr_logger(VRN_LOG_ERROR);
    const int runs = argc > 1 ? std::atoi(argv[1]) : 5;
    const int megabytes = argc > 2 ? std::atoi(argv[2]) : 512;
    const std::string parent = argc > 3 ? argv[3] : std::filesystem::temp_directory_path().string();
    try {
        vrn::bench::run(std::max(runs, 1), static_cast<std::uint64_t>(megabytes) << 20, parent);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_write_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
