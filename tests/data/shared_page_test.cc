#include "data/shared_page.h"
#include "data/page_snapshot.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <functional>

#include "support/test.h"

namespace vrn::test {
namespace {

constexpr std::uint64_t page_size = 12288;  // three pages of memory

// Starts a second process that does `action` and exits with 0 if that is true.
pid_t start(const std::function<bool()> &action) {
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        _exit(action() ? 0 : 1);
    }
    return child;
}
int status_of(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}
bool second_process(const std::function<bool()> &action) {
    return status_of(start(action)) == 0;
}

std::string address_of(const void *page) {
    char *text = nullptr;
    if (asprintf(&text, "%p", page) < 0) return {};
    return CString(text).get();
}

// An object of a name of this test's own; it goes with the test, if it is there.
class SharedPage : public ::testing::Test {
  protected:
    ~SharedPage() override { shm_unlink(name.c_str()); }

    vrn_data_page_t *allocate(std::uint64_t size = page_size) const {
        return vrn_data_page_allocate(0, size, memory_of(base));
    }
    // Maps the object as it is, as a consumer does.
    vrn_data_page_t *attach(std::uint64_t size = page_size) const {
        vrn_data_page_t *page = nullptr;
        std::int32_t creator_pid = 0;
        static_cast<void>(vrn_allocate_shared_mem(name.c_str(), size, &page, &creator_pid));
        return page;
    }
    static vrn_page_memory_t memory_of(const std::string &base) {
        vrn_page_memory_t memory = {VRN_PAGE_MEMORY_SHARED, 1, ""};
        base.copy(memory.name, sizeof memory.name);  // a text that fills it has no terminator
        return memory;
    }
    bool exists() const { return access(path.c_str(), F_OK) == 0; }

    const std::string base = "vrn_test_" + std::to_string(getpid());
    const std::string name = base + "_1";
    const std::string path = "/dev/shm/" + name;
};

TEST_F(SharedPage, IsCreatedAndEndedByItsCreator) {
    CapturedLog log(7);
    const mode_t mask = umask(027);
    vrn_data_page_t *page = allocate();
    EXPECT_EQ(umask(mask), 027);
    ASSERT_TRUE(page);
    const std::string at = address_of(page);
    EXPECT_EQ(log.take(),
              (Lines{"7 Creating shared-mem named " + name, "7 shared memory was created: " + name,
                     "6 Allocating shared_page: " + name + " of size: 12288 ptr=" + at}));
    EXPECT_EQ(page->creator_pid, getpid());
    EXPECT_EQ(page->memory.type, VRN_PAGE_MEMORY_SHARED);
    EXPECT_EQ(page->memory.name, name);
    EXPECT_EQ(page->page_size, page_size);
    EXPECT_EQ(page->filled_bytes, 720);
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0666);  // whatever the umask
    EXPECT_EQ(status.st_size, page_size);
    EXPECT_TRUE(second_process([&] {
        vrn_data_page_free(page);  // of a fork: not its creator
        return true;
    }));
    EXPECT_TRUE(exists());
    vrn_data_page_free(page);
    EXPECT_FALSE(exists());
    EXPECT_EQ(log.take(), (Lines{"6 Freeing shared-memory page: " + at,
                                 "6 | unlinking shared memory: " + name + " " + at + " 12288",
                                 "6 | --> shm_unlink(" + name + ") ok",
                                 "6 | unmapping shared memory: " + name + " " + at + " 12288",
                                 "6 | --> munmap (page=" + at + ", size=12288) ", "6 | ----> ok"}));
}

TEST_F(SharedPage, SecondProcessKeepsWhatItFindsAndLeavesTheObject) {
    const vrn_data_page_ptr page(allocate());
    page->first_ts = 5;
    page->last_ts = 6;
    page->filled_bytes = 800;
    std::strcpy(page->source.source, "node1");
    const std::int32_t creator = getpid();
    EXPECT_TRUE(second_process([&] {
        CapturedLog log;
        const vrn_data_page_ptr other(allocate());
        const Lines opened = {
            "6 shared memory was opened: " + name,
            "6 Allocating shared_page: " + name + " of size: 12288 ptr=" + address_of(other.get())};
        return log.take() == opened && other->first_ts == 5 && other->last_ts == 0 &&
               other->filled_bytes == 720 && std::string(other->source.source) == "node1" &&
               other->creator_pid == creator;
    }));
    EXPECT_TRUE(exists());
    EXPECT_EQ(page->filled_bytes, 720);
}

TEST_F(SharedPage, NameIsCutToItsField) {
    const std::string text = base + std::string(60, 'n');
    for (const std::size_t length : {20, 57, 58, 60}) {
        SCOPED_TRACE(length);
        const std::string expected = (text.substr(0, length) + "_1").substr(0, 59);
        vrn_page_memory_t memory = memory_of(text.substr(0, length));
        vrn_data_page_t *page = nullptr;
        std::int32_t creator_pid = 0;
        EXPECT_EQ(vrn_allocate_shared_page(&memory, 4096, &page, &creator_pid), 0);
        EXPECT_EQ(memory.name, expected);
        EXPECT_EQ(creator_pid, getpid());
        vrn_data_page_free(page);
        EXPECT_EQ(shm_unlink(expected.c_str()), 0);
    }
}

TEST_F(SharedPage, FailuresAreTold) {
    const std::string invalid = "3 [data_page] Data page allocation failed: Invalid argument";
    const std::string told = "3 [vrn_allocate_shared_mem] ";
    CapturedLog log(3);
    EXPECT_EQ(vrn_data_page_allocate(0, 4096, memory_of("a/b")), nullptr);
    EXPECT_EQ(log.take(), (Lines{told + "cannot create shared memory a/b_1", invalid}));
    EXPECT_EQ(allocate(~std::uint64_t{0}), nullptr);
    EXPECT_EQ(log.take(),
              (Lines{told + "Cannot ftruncate shared page " + name + ".  Cleaning up this page",
                     invalid}));
    EXPECT_FALSE(exists());
    EXPECT_EQ(attach(0), nullptr);  // nothing to map: the object stays
    EXPECT_EQ(log.take(), Lines{"3 FAILED to allocate shared_page: " + name + " of size: 0 "});
    EXPECT_EQ(truncate(path.c_str(), page_size), 0);
    EXPECT_EQ(allocate(page_size + 1), nullptr);
    EXPECT_EQ(log.take(),
              (Lines{told + "shared memory " + name + " has 12288 bytes of 12289", invalid}));
    EXPECT_TRUE(vrn_data_page_ptr(attach(4096)));
}

TEST_F(SharedPage, SnapshotIsAPrivateCopy) {
    const vrn_data_page_ptr page(allocate());
    std::memcpy(page.get() + 1, "data behind", 11);
    page->filled_bytes = 724;
    const vrn_data_page_ptr copy(vrn_data_page_snapshot(page.get()));
    ASSERT_TRUE(copy);
    EXPECT_FALSE(vrn_data_page_is_shared(copy.get()));
    vrn_data_page_t expected = *page;
    expected.memory.type = VRN_PAGE_MEMORY_REGULAR;
    EXPECT_EQ(std::memcmp(copy.get(), &expected, sizeof expected), 0);
    // All of the page: what follows the data pads its last block.
    EXPECT_EQ(std::memcmp(copy.get() + 1, page.get() + 1, page_size - 720), 0);
    EXPECT_EQ(vrn_data_page_snapshot(&expected), nullptr);  // of no mapping
}

TEST_F(SharedPage, SnapshotRefusesSizesThatDontFit) {
    const vrn_data_page_ptr page(allocate());
    // clang-format off
    const struct { std::uint64_t page_size, filled_bytes; bool is_good; } cases[] = {
        {12288, 12288, true}, {720, 720, true}, {12289, 720, false},
        {~std::uint64_t{0}, 720, false}, {0, 0, false}, {12288, 719, false}, {12288, 12289, false},
        {4096, 4097, false},
    };
    // clang-format on
    for (const auto &c : cases) {
        page->page_size = c.page_size;
        page->filled_bytes = c.filled_bytes;
        const std::string sizes = "page_size " + std::to_string(c.page_size) +
                                  " and filled_bytes " + std::to_string(c.filled_bytes);
        SCOPED_TRACE(sizes);
        CapturedLog log;
        EXPECT_EQ(vrn_data_page_ptr(vrn_data_page_snapshot(page.get())) != nullptr, c.is_good);
        EXPECT_EQ(log.take(), c.is_good ? Lines{}
                                        : Lines{"3 [data_page] Shared page is refused: " + sizes +
                                                " don't fit 12288 mapped bytes"});
    }
}

TEST_F(SharedPage, FreeSpaceStaysWithinTheMapping) {
    const vrn_data_page_ptr page(allocate());
    page->page_size = page_size + 1;
    CapturedLog log;
    void *space = page.get();
    std::uint64_t size = 9;
    vrn_data_page_get_free_space(page.get(), &space, &size);
    EXPECT_EQ(space, nullptr);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(log.take(), Lines{"3 [data_page] Shared page of 12289 bytes has only 12288 mapped"});
}

TEST_F(SharedPage, ShrunkenObjectFailsTheSnapshotAlone) {
    for (const std::uint64_t size : {0, 700, 4096, 8192}) {
        SCOPED_TRACE(size);
        vrn_data_page_t *page = allocate();
        ASSERT_EQ(truncate(path.c_str(), static_cast<off_t>(size)), 0);
        CapturedLog log(3);
        EXPECT_EQ(vrn_data_page_snapshot(page), nullptr);
        EXPECT_EQ(log.take(), Lines{"3 [data_page] Shared page is refused: its 12288 mapped bytes "
                                    "are gone: Bad address"});
        vrn_data_page_free(page);
        EXPECT_FALSE(exists());
    }
}

TEST_F(SharedPage, ScribbledHeaderDoesNotMisleadItsEnd) {
    vrn_data_page_t *page = allocate();
    ASSERT_TRUE(second_process([&] {
        const vrn_data_page_ptr other(attach());
        std::memset(static_cast<void *>(other.get()), 0xFF, page_size);
        other->creator_pid = getpid();  // it did not create the object, whatever it says
        return true;
    }));
    EXPECT_TRUE(exists());
    CapturedLog log(3);
    vrn_data_page_free(page);
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_TRUE(exists());  // the header names another process as its creator
}

TEST_F(SharedPage, NameOfAnotherObjectIsNotUnlinked) {
    vrn_data_page_t *page = allocate();
    shm_unlink(name.c_str());
    close(shm_open(name.c_str(), O_CREAT | O_RDWR, 0600));
    CapturedLog log;
    vrn_data_page_free(page);
    EXPECT_TRUE(exists());
    EXPECT_EQ(log.take().at(2), "6 | --> shm_unlink(" + name + ") unsuccessful");
}

TEST_F(SharedPage, OutlivesItsCreator) {
    const pid_t creator = start([&] {
        allocate()->filled_bytes = 730;
        return raise(SIGKILL) != 0;
    });
    EXPECT_TRUE(WIFSIGNALED(status_of(creator)));
    vrn_data_page_ptr page(attach());
    ASSERT_TRUE(page);
    const vrn_data_page_ptr copy(vrn_data_page_snapshot(page.get()));
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->filled_bytes, 730);
    EXPECT_EQ(copy->creator_pid, creator);
    page->creator_pid = getpid();  // as of a creator whose number this process has now
    page.reset();
    EXPECT_TRUE(exists());
}

TEST_F(SharedPage, IsUnlinkedByTheNextProcessOfItsCreatorsPid) {
    for (const std::int32_t creator : {getpid(), getppid()}) {
        EXPECT_TRUE(second_process([&] { return (allocate()->creator_pid = creator) != 0; }));
        EXPECT_TRUE(exists());
        vrn_data_page_free(allocate());  // as after a restart
        EXPECT_EQ(exists(), creator != getpid());
    }
}

TEST_F(SharedPage, PublishesAPrivatePage) {
    const vrn_page_memory_t memory = {VRN_PAGE_MEMORY_REGULAR, 0, "private"};
    const vrn_data_page_ptr page(vrn_data_page_allocate(0, page_size, memory));
    page->filled_bytes = 724;
    page->hca_info[5].hca_name[0] = 1;
    std::memcpy(page.get() + 1, "data behind", 11);
    const vrn_data_page_ptr shared(allocate());
    vrn_data_page_t expected = *page;
    expected.memory = shared->memory;
    expected.creator_pid = getpid();
    ASSERT_TRUE(vrn_data_page_publish(page.get(), shared.get()));
    EXPECT_EQ(std::memcmp(shared.get(), &expected, sizeof expected), 0);
    EXPECT_EQ(std::memcmp(shared.get() + 1, page.get() + 1, page_size - 720), 0);

    CapturedLog log(3);
    page->page_size = page_size + 1;
    EXPECT_FALSE(vrn_data_page_publish(page.get(), shared.get()));
    page->page_size = page_size;
    EXPECT_FALSE(vrn_data_page_publish(page.get(), page.get()));
    const std::string refused = "3 [data_page] Shared page is refused: ";
    const std::string sizes = " and filled_bytes 724 don't fit ";
    EXPECT_EQ(log.take(), (Lines{refused + "page_size 12289" + sizes + "12288 mapped bytes",
                                 refused + "page_size 12288" + sizes + "0 mapped bytes"}));
    for (const off_t size : {0, 700, 8192}) {
        ASSERT_EQ(truncate(path.c_str(), size), 0);
        EXPECT_FALSE(vrn_data_page_publish(page.get(), shared.get()));
        EXPECT_EQ(log.take(), Lines{refused + "its 12288 mapped bytes are gone: Bad address"});
    }
}

TEST_F(SharedPage, HasOneCreatorAmongMany) {
    for (int round = 0; round < 20; ++round) {
        std::array<pid_t, 4> children;
        for (pid_t &child : children)
            child = start([&] {
                vrn_data_page_t *page = nullptr;
                std::int32_t creator_pid = 0;
                const int result =
                    vrn_allocate_shared_mem(name.c_str(), page_size, &page, &creator_pid);
                if (result != 0) _exit(2);
                return creator_pid == getpid();
            });
        int creators = 0;
        for (const pid_t child : children) {
            const int status = status_of(child);
            EXPECT_NE(WEXITSTATUS(status), 2);
            creators += status == 0;
        }
        EXPECT_EQ(creators, 1);
        shm_unlink(name.c_str());
    }
}

}  // namespace
}  // namespace vrn::test
