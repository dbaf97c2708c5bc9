// What a data writer leaves when it is killed, and when its disk is full.
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <new>

#include "data/data_writer.h"
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
    std::vector<std::uint64_t> times;
    for (std::uint64_t page = 0; page < pages; ++page) times.push_back(start + page);
    return times;
}

// A count that a child shares with this process.
class SharedCount {
  public:
    SharedCount() {
        void *memory =
            mmap(nullptr, sizeof(Count), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) throw std::bad_alloc();
        count_ = new (memory) Count(0);
    }
    ~SharedCount() { munmap(count_, sizeof(Count)); }
    SharedCount(const SharedCount &) = delete;
    SharedCount &operator=(const SharedCount &) = delete;
    std::atomic<std::uint64_t> &get() { return *count_; }

  private:
    using Count = std::atomic<std::uint64_t>;
    Count *count_;
};

constexpr std::uint64_t pages_of_run = 10;

// Two tags, five files; `reported` pages were written when it ends.
void write_run(const std::string &root, std::atomic<std::uint64_t> *reported) {
    const vrn_data_writer_ptr writer = make_writer(root);
    for (std::uint64_t page = 0; page < pages_of_run; ++page) {
        write_page(writer.get(), start + page, page % 3 == 0 ? "b" : "a");
        *reported = page + 1;
    }
}

TEST(DataWriterCrash, KeepsReportedPagesWhereverItIsKilled) {
    std::size_t calls = 0;
    for (bool is_done = false; !is_done; ++calls) {
        SCOPED_TRACE(calls);
        const TempDir dir;
        SharedCount reported;
        is_done = run_and_kill([&] { write_run(dir.path(), &reported.get()); }, calls);
        ASSERT_EQ(check_data_tree(dir.path(), times_up_to(reported.get())), "");
        write_run(dir.path(), &reported.get());
        ASSERT_EQ(check_data_tree(dir.path(), times_up_to(pages_of_run)), "");
    }
    EXPECT_GT(calls, pages_of_run * 2);  // every page is written, every second one opens a file
}

// Mounts a file system of `bytes` for this process alone.
bool mount_disk(const std::string &path, std::size_t bytes) {
    const std::string options = "size=" + std::to_string(bytes);
    if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
    return mount("disk", path.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

struct DiskRun {
    vrn_data_writer_ptr writer;
    std::uint64_t time = start;
    std::vector<std::uint64_t> stored;

    // True when the page was stored.
    bool write() {
        write_page(writer.get(), ++time, "a");
        const bool is_stored = !writer->files.begin()->second.path.empty();
        if (is_stored) stored.push_back(time);
        return is_stored;
    }
};

std::string check_full_disk(const std::string &root, std::size_t disk_pages, std::uint64_t limit) {
    const std::size_t page_bytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    if (!mount_disk(root, disk_pages * page_bytes)) return "skip";
    CapturedLog log(4);
    DiskRun run{make_writer(root), start, {}};
    vrn_data_writer_set_data_size_limit(run.writer.get(), limit);
    while (run.stored.size() < 100 && run.write()) {
    }
    for (int page = 0; page < 5; ++page)
        if (run.write()) return "stored on a full disk";
    // A file of two pages takes one page of the disk.
    if (run.stored.size() != 2 * disk_pages) return "stored " + std::to_string(run.stored.size());
    if (log.take().size() != 2) return "not reported once";  // its cause and its effect
    std::string fault = check_data_tree(root, run.stored);
    if (!fault.empty()) return fault;

    fs::remove(data_files_of(root).front());
    run.stored.erase(run.stored.begin(), run.stored.begin() + 2);
    if (!run.write() || !run.write()) return "not resumed";
    run.writer.reset();
    if (!log.take().empty()) return "reported when there was room again";
    return check_data_tree(root, run.stored);
}

TEST(DataWriterCrash, ReportsAFullDiskOnceAndResumes) {
    for (std::size_t disk_pages = 1; disk_pages <= 6; ++disk_pages)
        for (const std::uint64_t limit : {std::uint64_t{0}, std::uint64_t{10'000}}) {
            SCOPED_TRACE(disk_pages);
            SCOPED_TRACE(limit);
            const TempDir dir;
            const std::string fault =
                run_in_child([&] { return check_full_disk(dir.path(), disk_pages, limit); });
            if (fault == "skip") GTEST_SKIP() << "no file system can be mounted here";
            ASSERT_EQ(fault, "");
        }
}

// A disk that holds more than the limit never fills.
std::string check_limited_disk(const std::string &root) {
    if (!mount_disk(root, 8 * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)))) return "skip";
    CapturedLog log(4);
    DiskRun run{make_writer(root), start, {}};
    vrn_data_writer_set_data_size_limit(run.writer.get(), 12 * page_block_size);
    for (int page = 0; page < 100; ++page)
        if (!run.write()) return "not stored";
    if (!log.take().empty()) return "reported a failure";
    return check_data_tree(root, {run.stored.end() - 4, run.stored.end()});
}

TEST(DataWriterCrash, KeepsWithinItsDisk) {
    const TempDir dir;
    const std::string fault = run_in_child([&] { return check_limited_disk(dir.path()); });
    if (fault == "skip") GTEST_SKIP() << "no file system can be mounted here";
    EXPECT_EQ(fault, "");
}

}  // namespace
}  // namespace vrn::test
