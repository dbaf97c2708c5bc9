// What a data writer leaves when it is killed, when disk or folder fail it, and when another
// process spoils its pages.
#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <functional>
#include <numeric>

#include "data/writer/data_writer.h"
#include "support/child_process.h"
#include "support/data_tree.h"
#include "support/test.h"
#include "support/test_page.h"

namespace vrn::test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t start = 1'794'712'886'000'000;
constexpr std::uint64_t two_pages_a_file = 256 + 2 * page_block_size;

vrn_data_writer_ptr make_writer(const std::string &root) {
    const vrn_client_id_t client{.host_name = "collector", .port = 0};
    vrn_data_writer_ptr writer(vrn_data_writer_create(&client));
    vrn_data_writer_set_data_dir(writer.get(), root.c_str());
    vrn_data_writer_set_counters_path_template(writer.get(), "{{tag}}/{{id}}.bin");
    vrn_data_writer_set_file_size_limit(writer.get(), two_pages_a_file);
    return writer;
}

void write_page(vrn_data_writer_t *writer, std::uint64_t time, const char *tag) {
    TestPage page(page_block_size, page_block_size);
    page.names("node1", tag).times(time, time).data(page_data(time));
    vrn_data_writer_write_page(writer, page.get(), nullptr);
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

// A child that checks a writer in a folder as it likes: its text is what is wrong.
void expect_no_fault(const std::function<std::string(const std::string &)> &check) {
    const TempDir dir;
    const std::string fault = run_in_child([&] { return check(dir.path()); });
    if (fault == "skip") GTEST_SKIP() << "neither file system nor user can be had here";
    EXPECT_EQ(fault, "");
}

// Mounts a file system of `bytes` for this process alone.
bool mount_disk(const std::string &path, std::size_t bytes) {
    const std::string options = "size=" + std::to_string(bytes);
    if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
    return mount("disk", path.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

struct DiskRun {
    explicit DiskRun(const std::string &root) : writer(make_writer(root)) {}

    // True when the page was stored.
    bool write() {
        write_page(writer.get(), ++time, "a");
        const bool is_stored = !writer->files.begin()->second.path.empty();
        if (is_stored) stored.push_back(time);
        return is_stored;
    }

    CapturedLog log{4};
    vrn_data_writer_ptr writer;
    std::uint64_t time = start;
    std::vector<std::uint64_t> stored;
};

std::string check_full_disk(const std::string &root, std::size_t disk_pages, std::uint64_t limit) {
    const std::size_t page_bytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    if (!mount_disk(root, disk_pages * page_bytes)) return "skip";
    DiskRun run(root);
    vrn_data_writer_set_data_size_limit(run.writer.get(), limit);
    while (run.stored.size() < 100 && run.write()) {
    }
    for (int page = 0; page < 5; ++page)
        if (run.write()) return "stored on a full disk";
    // A file of two pages takes one page of the disk.
    if (run.stored.size() != 2 * disk_pages) return "stored " + std::to_string(run.stored.size());
    if (run.log.take().size() != 2) return "not reported once";  // its cause and its effect
    std::string fault = check_data_tree(root, run.stored);
    if (!fault.empty()) return fault;

    fs::remove(data_files_of(root).front());
    run.stored.erase(run.stored.begin(), run.stored.begin() + 2);
    if (!run.write() || !run.write()) return "not resumed";
    run.writer.reset();
    if (!run.log.take().empty()) return "reported when there was room again";
    return check_data_tree(root, run.stored);
}

TEST(DataWriterCrash, ReportsAFullDiskOnceAndResumes) {
    for (std::size_t disk_pages = 1; disk_pages <= 6; ++disk_pages)
        for (const std::uint64_t limit : {0, 10'000}) {
            SCOPED_TRACE(disk_pages);
            SCOPED_TRACE(limit);
            expect_no_fault(
                [&](const auto &dir) { return check_full_disk(dir, disk_pages, limit); });
        }
}

// A disk that holds more than the limit never fills.
std::string check_limited_disk(const std::string &root) {
    if (!mount_disk(root, 8 * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)))) return "skip";
    DiskRun run(root);
    vrn_data_writer_set_data_size_limit(run.writer.get(), 12 * page_block_size);
    for (int page = 0; page < 100; ++page)
        if (!run.write()) return "not stored";
    if (!run.log.take().empty()) return "reported a failure";
    return check_data_tree(root, {run.stored.end() - 4, run.stored.end()});
}

TEST(DataWriterCrash, KeepsWithinItsDisk) {
    expect_no_fault(check_limited_disk);
}

// Folders refuse root nothing.
bool become_plain_owner(const std::string &dir) {
    constexpr uid_t nobody = 65534;
    if (geteuid() != 0) return true;
    return chown(dir.c_str(), nobody, nobody) == 0 && setresuid(nobody, nobody, nobody) == 0;
}

std::string check_unwritable_folder(const std::string &root) {
    if (!become_plain_owner(root)) return "skip";
    DiskRun run(root);
    for (int stretch = 0; stretch < 2; ++stretch) {
        if (!run.write()) return "not stored";
        fs::permissions(root + "/a", fs::perms(0555));
        if (!run.write()) return "not stored in the file at hand";
        for (int page = 0; page < 5; ++page)
            if (run.write()) return "stored in an unwritable folder";
        const Lines lines = run.log.take();
        if (lines.size() != 2 || !lines[0].starts_with("3 [data_file] Failed to open file ") ||
            !lines[1].starts_with("3 [data_file] Failed to create empty data file "))
            return "not reported once";
        fs::permissions(root + "/a", fs::perms(0755));
        if (!run.write() || !run.write()) return "not resumed";
    }
    run.writer.reset();
    if (!run.log.take().empty()) return "reported when the folder was well again";
    return check_data_tree(root, run.stored);
}

TEST(DataWriterCrash, ReportsAnUnwritableFolderOnceAndResumes) {
    expect_no_fault(check_unwritable_folder);
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
    vrn_data_writer_set_counters_path_template(writer.get(), "{{source}}/{{id}}.bin");
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
