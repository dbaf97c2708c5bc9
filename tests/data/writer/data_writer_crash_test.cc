// What a data writer leaves when it is killed, and when another process spoils its pages.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <numeric>

#include "data/writer/data_writer.h"
#include "support/child_process.h"
#include "support/data_tree.h"
#include "support/test.h"
#include "support/test_page.h"

namespace vrn::test {
namespace {

constexpr std::uint64_t start = 1'794'712'886'000'000;
constexpr std::uint64_t two_pages_a_file = 256 + 2 * page_block_size;

vrn_data_writer_ptr make_writer(const std::string &root) {
    const vrn_client_id_t client{.host_name = "collector", .port = 0};
    vrn_data_writer_ptr writer(vrn_data_writer_create(&client));
    EXPECT_TRUE(vrn_data_writer_set_data_dir(writer.get(), root.c_str()));
    EXPECT_TRUE(vrn_data_writer_set_counters_path_template(writer.get(), "{{tag}}/{{id}}.bin"));
    EXPECT_TRUE(vrn_data_writer_set_file_size_limit(writer.get(), two_pages_a_file));
    return writer;
}

void write_page(vrn_data_writer_t *writer, std::uint64_t time, const char *tag) {
    TestPage page(page_block_size, page_block_size);
    page.names("node1", tag).times(time, time).data(page_data(time));
    EXPECT_TRUE(vrn_data_writer_write_page(writer, page.get(), nullptr));
}

std::vector<std::uint64_t> times_up_to(std::uint64_t pages) {
    std::vector<std::uint64_t> times(pages);
    std::iota(times.begin(), times.end(), start);
    return times;
}

constexpr std::uint64_t pages_of_run = 10;

using Count = std::atomic<std::uint64_t>;

// Two tags, five files; `reported` pages were written when it ends.
void write_run(const std::string &root, Count *reported) {
    const vrn_data_writer_ptr writer = make_writer(root);
    for (std::uint64_t page = 0; page < pages_of_run; ++page) {
        write_page(writer.get(), start + page, page % 3 == 0 ? "b" : "a");
        *reported = page + 1;
    }
}

bool has_nameless_files(const std::string &dir) {
    const int file = open(dir.c_str(), O_TMPFILE | O_WRONLY, 0600);
    return file >= 0 && close(file) == 0;
}

TEST(DataWriterCrash, KeepsReportedPagesWhereverItIsKilled) {
    if (!has_nameless_files(TempDir().path())) GTEST_SKIP() << "no file can be made whole here";
    constexpr int shared = MAP_SHARED | MAP_ANONYMOUS;
    void *memory = mmap(nullptr, sizeof(Count), PROT_READ | PROT_WRITE, shared, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    auto *reported = new (memory) Count;  // goes with the process
    std::size_t calls = 0;
    for (bool is_done = false; !is_done; ++calls) {
        SCOPED_TRACE(calls);
        const TempDir dir;
        *reported = 0;
        is_done = run_and_kill([&] { write_run(dir.path(), reported); }, calls);
        ASSERT_EQ(check_data_tree(dir.path(), times_up_to(*reported)), "");
        write_run(dir.path(), reported);
        ASSERT_EQ(check_data_tree(dir.path(), times_up_to(pages_of_run)), "");
    }
    EXPECT_GT(calls, pages_of_run * 2);  // every page is written, every second one opens a file
}

constexpr std::uint32_t unit = 20;  // bytes, of all block sizes below
constexpr std::uint64_t shared_area = std::uint64_t{600} * unit;
constexpr std::uint64_t shared_size = VRN_DATA_PAGE_HEADER_SIZE + shared_area;

// Fills the object with pages whose headers are wrong as often as not, and takes its bytes away.
[[noreturn]] void spoil(const std::string &name) {
    constexpr std::array<std::uint64_t, 5> sizes = {shared_size, shared_size, 0, shared_size + 1,
                                                    ~std::uint64_t{0}};
    constexpr std::array<std::uint32_t, 6> block_sizes = {unit, 7 * unit, 0, unit, unit, 1U << 31};
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int object = shm_open(name.c_str(), O_RDWR, 0);
    for (std::uint64_t i = 0;; ++i) {
        TestPage page(shared_area, block_sizes[i % block_sizes.size()]);
        page.names("node" + std::to_string(i % 7), "tag").times(start + i, start + i).data("VRND");
        page.fill(i * 7919 % (shared_area + unit)).head().page_size = sizes[i % sizes.size()];
        if (pwrite(object, page.get(), shared_size, 0) < 0) _exit(1);
        if (i % 4 != 0) continue;
        if (ftruncate(object, i * 31 % shared_size) != 0) _exit(1);
        if (ftruncate(object, shared_size) != 0) _exit(1);
    }
}

TEST(DataWriterCrash, KeepsItsTreeWholeWhileAnotherProcessSpoilsItsPages) {
    vrn_page_memory_t memory = {VRN_PAGE_MEMORY_SHARED, getpid(), "vrn_test_spoilt"};
    const vrn_data_page_ptr page(vrn_data_page_allocate(0, shared_size, memory));
    ASSERT_TRUE(page);
    const std::string name = page->memory.name;
    const TempDir dir;
    vrn_data_writer_ptr writer = make_writer(dir.path());
    EXPECT_TRUE(vrn_data_writer_set_counters_path_template(writer.get(), "{{source}}/{{id}}.bin"));
    CapturedLog log;
    const std::string object = "/dev/shm/" + name;
    ASSERT_EQ(truncate(object.c_str(), 0), 0);  // its bytes are gone
    EXPECT_TRUE(vrn_data_writer_write_page(writer.get(), page.get(), nullptr));
    ASSERT_EQ(truncate(object.c_str(), shared_size), 0);
    ::testing::internal::CaptureStdout();  // dumps of pages without a block
    const pid_t vandal = fork();
    if (vandal == 0) spoil(name);
    std::vector<std::string> paths;
    for (int i = 0; i < 1'000'000 && paths.size() < 50; ++i) {
        EXPECT_TRUE(vrn_data_writer_write_page(writer.get(), page.get(), nullptr));
        if (i % 100 == 0) paths = data_files_of(dir.path());
    }
    kill(vandal, SIGKILL);
    int status = 0;
    waitpid(vandal, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    shm_unlink(name.c_str());  // the header tells no creator by now
    writer.reset();
    ::testing::internal::GetCapturedStdout();
    EXPECT_GE(paths.size(), 50U);
    for (const std::string &path : data_files_of(dir.path())) {
        SCOPED_TRACE(path);
        const std::string bytes = read_file(path);
        vrn_data_file_header_t header{};
        bytes.copy(reinterpret_cast<char *>(&header), sizeof header);
        EXPECT_TRUE(vrn_data_file_header_is_valid(&header));
        EXPECT_EQ(header.file_size, bytes.size());
        EXPECT_EQ(bytes.size() % unit, sizeof header % unit);
    }
}

}  // namespace
}  // namespace vrn::test
