// Processes that write to one data file at once, and that are killed while they do.
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <map>

#include "data/writer/data_file.h"
#include "support/child_process.h"
#include "support/test.h"

namespace vrn::test {
namespace {

constexpr std::uint64_t start = 1'794'712'886'000'000;
constexpr std::uint64_t never = ~std::uint64_t{0};
const vrn_client_id_t client{.host_name = "collector", .port = 0};

// What one process writes: pages of `blocks` blocks each, until it is killed.
struct Plan {
    std::uint32_t block_size;
    std::uint32_t blocks;
    std::uint64_t pages;
    std::uint64_t killed_at = never;  // pages that were reported by then
};

// Lies in memory that all processes share.
struct Progress {
    std::atomic<unsigned> ready = 0;
    std::array<std::atomic<std::uint64_t>, 8> reported{};  // pages, by process
};

struct BlockHead {
    char magic[4];
    std::uint32_t block_size;
    std::uint32_t writer;
    std::uint32_t blocks;  // of the page
    std::uint64_t page;
};

std::string block_of(const BlockHead &head) {
    const char *bytes = reinterpret_cast<const char *>(&head);
    std::string block(head.block_size, static_cast<char>(head.page * 31 + head.writer));
    return block.replace(0, sizeof head, bytes, sizeof head);
}

class Race {
  public:
    explicit Race(const TempDir &dir) : dir_(dir) {
        constexpr int shared = MAP_SHARED | MAP_ANONYMOUS;
        void *memory = mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, shared, -1, 0);
        if (memory == MAP_FAILED) throw std::bad_alloc();
        progress_ = new (memory) Progress;  // goes with the mapping
    }
    ~Race() { munmap(progress_, sizeof(Progress)); }
    Race(const Race &) = delete;
    Race &operator=(const Race &) = delete;

    // Writes the pages of one plan and counts what was reported.
    void write(std::uint32_t writer, const Plan &plan) {
        vrn_data_file_t file;
        vrn_data_file_init(&file, &client, "node1", "tag", 1);
        file.root_dir = dir_.path();
        file.path_template = "f";
        file.block_size = plan.block_size;
        for (std::uint64_t page = 0; page < plan.pages; ++page) {
            const std::string block =
                block_of({{'V', 'R', 'N', 'D'}, plan.block_size, writer, plan.blocks, page});
            std::string data;
            for (std::uint32_t i = 0; i < plan.blocks; ++i) data += block;
            const std::uint64_t time = start + page;
            if (vrn_data_file_write(&file, time, time, data.data(), data.size(), nullptr) != 0)
                ++progress_->reported[writer];
        }
        vrn_data_file_destroy(&file);
    }

    // All plans at once, each in a process of its own.
    void run(const std::vector<Plan> &plans) {
        std::vector<pid_t> children;
        for (std::uint32_t writer = 0; writer < plans.size(); ++writer) {
            children.push_back(fork());
            if (children.back() == 0) write_in_step(writer, plans);
        }
        while (progress_->ready < plans.size()) usleep(10);
        for (std::uint32_t writer = 0; writer < plans.size(); ++writer)
            end_child(children[writer], writer, plans[writer]);
    }

    // What the file holds; every page that was reported must be there whole, and of those that
    // were not whole blocks, if these are of the file's own size.
    std::string check(const std::vector<Plan> &plans) const {
        const std::string bytes = read_file(dir_.file("f"));
        vrn_data_file_header_t header{};
        bytes.copy(reinterpret_cast<char *>(&header), sizeof header);
        if (!vrn_data_file_header_is_valid(&header)) return "no header";
        if (header.file_size != bytes.size()) return "wrong size in the header";
        std::map<std::pair<std::uint32_t, std::uint64_t>, std::uint32_t> found;
        for (std::size_t at = sizeof header; at < bytes.size();) {
            BlockHead head{};
            bytes.copy(reinterpret_cast<char *>(&head), sizeof head, at);
            if (head.writer >= plans.size() || head.block_size < sizeof head ||
                bytes.compare(at, head.block_size, block_of(head)) != 0)
                return "torn at " + std::to_string(at);
            ++found[{head.writer, head.page}];
            at += head.block_size;
        }
        for (const auto &[page, blocks] : found)
            if (const Plan &plan = plans[page.first];
                plan.block_size != header.block_size && blocks != plan.blocks)
                return "part of a page of other blocks";
        for (std::uint32_t writer = 0; writer < plans.size(); ++writer)
            for (std::uint64_t page = 0; page < progress_->reported[writer]; ++page)
                if (found[{writer, page}] != plans[writer].blocks)
                    return "lost page " + std::to_string(page) + " of " + std::to_string(writer);
        return "";
    }

    std::uint64_t reported(std::uint32_t writer) const { return progress_->reported[writer]; }

  private:
    [[noreturn]] void write_in_step(std::uint32_t writer, const std::vector<Plan> &plans) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (++progress_->ready; progress_->ready < plans.size();) {
        }
        write(writer, plans[writer]);
        _exit(0);
    }

    void end_child(pid_t child, std::uint32_t writer, const Plan &plan) {
        int status = 0;
        if (plan.killed_at != never) {
            while (reported(writer) < plan.killed_at) usleep(10);
            kill(child, SIGKILL);
        }
        waitpid(child, &status, 0);
    }

    const TempDir &dir_;
    Progress *progress_;
};

TEST(DataFileRace, WritersOfOneFileLoseNoPage) {
    const std::pair<int, std::vector<Plan>> cases[] = {
        {50, std::vector<Plan>(3, {.block_size = 64, .blocks = 1, .pages = 2})},
        {6,
         {{.block_size = 4096, .blocks = 16, .pages = 200},
          {.block_size = 4096, .blocks = 16, .pages = 1},
          {.block_size = 65536, .blocks = 1, .pages = 1},
          {.block_size = 4096, .blocks = 1, .pages = 40},
          {.block_size = 100, .blocks = 3, .pages = 40}}}};
    CapturedLog log(4);
    for (const auto &[rounds, plans] : cases)
        for (int round = 0; round < rounds; ++round) {
            const TempDir dir;
            Race race(dir);
            race.run(plans);
            for (std::uint32_t writer = 0; writer < plans.size(); ++writer)
                ASSERT_EQ(race.reported(writer), plans[writer].pages) << round;
            ASSERT_EQ(race.check(plans), "") << round;
        }
}

TEST(DataFileRace, KilledWritersTakeNoPageWithThem) {
    CapturedLog log(4);
    const Plan last = {.block_size = 64, .blocks = 1, .pages = 1};
    for (std::uint64_t round = 0; round < 8; ++round) {
        const std::vector<Plan> plans = {
            {.block_size = 64, .blocks = 1000, .pages = 100, .killed_at = round},
            {.block_size = 96, .blocks = 1000, .pages = 100, .killed_at = round * 2},
            {.block_size = 64, .blocks = 1, .pages = 50},
            {.block_size = 40, .blocks = 3000, .pages = 100, .killed_at = 10},
            last};
        const TempDir dir;
        Race race(dir);
        race.run({plans.begin(), plans.end() - 1});
        race.write(4, last);  // cuts what the others left
        ASSERT_EQ(race.reported(2), 50U) << round;
        ASSERT_EQ(race.check(plans), "") << round;
    }
}

TEST(DataFileRace, PageOfOtherBlocksIsWholeWhereverItsWriterIsKilled) {
    CapturedLog log(5);
    const std::vector<Plan> plans = {{.block_size = 40, .blocks = 1, .pages = 2},
                                     {.block_size = 64, .blocks = 3, .pages = 2},
                                     {.block_size = 40, .blocks = 1, .pages = 1}};
    std::size_t calls = 0;
    for (bool is_done = false; !is_done; ++calls) {
        const TempDir dir;
        Race race(dir);
        race.write(0, plans[0]);
        is_done = run_and_kill([&] { race.write(1, plans[1]); }, calls);
        race.write(2, plans[2]);
        ASSERT_EQ(race.check(plans), "") << calls;
    }
    EXPECT_GT(calls, 8U);
}

}  // namespace
}  // namespace vrn::test
