// vrn_read while memory runs out: its whole output, or a status and a message that tell of it.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <regex>

#include "support/byte_builder.h"
#include "support/failing_allocation.h"
#include "support/sample_files.h"
#include "support/stream_blocks.h"
#include "support/test.h"

int vrn_read_main(int argc, char **argv);  // the entry of the tool

namespace vrn::test {
namespace {

namespace fs = std::filesystem;

// What a child process tells of its memory at the end of its run.
struct Memory {
    bool was_short;
    long blocks_left;
};

struct Outcome {
    int status;  // of waitpid
    Memory memory;
    std::string out;
    std::string errors;
    std::string files;
};

// Lines of the log without their times.
std::string log_text(const std::string &path) {
    constexpr std::size_t time_length = std::string_view("[2026-01-01 00:00:00.000] ").size();
    std::string text = read_file(path);
    for (std::size_t at = 0; (at = text.find("[20", at)) != std::string::npos;)
        text.erase(at, time_length);
    return text;
}

std::string stored_files() {
    std::string files;
    for (const auto &entry : fs::recursive_directory_iterator("output"))
        if (entry.is_regular_file()) files += entry.path().string() + read_file(entry.path());
    return files;
}

// Runs the tool in children, each a copy of this process.
class MemoryShortage : public testing::Test {
  protected:
    void SetUp() override {
        fs::current_path(dir_.path());
        write_sample_schemas(dir_);
        setenv("TZ", "VRN-3", 1);
        memory_ = static_cast<Memory *>(mmap(nullptr, sizeof(Memory), PROT_READ | PROT_WRITE,
                                             MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        ASSERT_NE(memory_, MAP_FAILED);
    }
    void TearDown() override {
        munmap(memory_, sizeof *memory_);
        fs::current_path("/");
    }

    // Each allocation of the run fails once alone, and once with all that follow.
    void expect_all_or_nothing(std::vector<std::string> words) {
        fs::create_directory("output");
        std::vector<char *> args;
        for (std::string &word : words) args.push_back(word.data());
        args.push_back(nullptr);
        const Outcome whole = run(args, -1, false);
        ASSERT_EQ(whole.status, 0) << whole.errors;
        for (const bool lasts : {false, true})
            for (int successes = 0;; ++successes) {
                const testing::ScopedTrace trace(
                    __FILE__, __LINE__, std::to_string(successes) + (lasts ? " and on" : ""));
                const Outcome outcome = run(args, successes, lasts);
                check(outcome, whole);
                if (!outcome.memory.was_short) break;
            }
    }

    TempDir dir_;

  private:
    [[noreturn]] void run_in_child(std::vector<char *> args, int successes, bool lasts) noexcept {
        for (const auto &[path, stream] : {std::pair("stdout", 1), std::pair("stderr", 2)})
            dup2(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), stream);
        const long blocks_before = allocated_blocks;
        begin_shortage(successes, lasts);
        const int status = vrn_read_main(static_cast<int>(args.size()) - 1, args.data());
        std::fflush(stdout);
        end_shortage();
        *memory_ = {failed_allocations > 0, allocated_blocks - blocks_before};
        _exit(status);
    }

    Outcome run(const std::vector<char *> &args, int successes, bool lasts) {
        *memory_ = {true, 0};
        const pid_t child = fork();
        if (child == 0) run_in_child(args, successes, lasts);
        int status = 0;
        waitpid(child, &status, 0);
        const std::string files = stored_files();
        if (!files.empty()) fs::remove_all("output");
        if (!files.empty()) fs::create_directory("output");
        return {status, *memory_, read_file("stdout"), log_text("stderr"), files};
    }

    static void check(const Outcome &outcome, const Outcome &whole) {
        EXPECT_TRUE(WIFEXITED(outcome.status)) << "signal " << WTERMSIG(outcome.status);
        EXPECT_LE(outcome.memory.blocks_left, whole.memory.blocks_left) << "leaks";
        if (outcome.status != 0) {
            EXPECT_NE(outcome.errors, "");
            return;
        }
        EXPECT_EQ(outcome.out, whole.out);
        EXPECT_EQ(outcome.errors, whole.errors);
        EXPECT_EQ(outcome.files, whole.files);
    }

    Memory *memory_ = nullptr;
};

constexpr std::size_t header_size = 256;
constexpr std::size_t block_size = 384;

// The sample with a metrics block.
std::string data_file() {
    const std::string metrics =
        ByteBuilder().text(sample_stream().build()).pad_to(block_size).done();
    return sample_data_file().insert(header_size, metrics);
}

TEST_F(MemoryShortage, LeavesWholeJson) {
    dir_.write("in/data.bin", data_file());
    expect_all_or_nothing({"vrn_read", "-u", "-S", "-d", "in"});
}

TEST_F(MemoryShortage, LeavesWholeLinesOfChosenFields) {
    dir_.write("data.bin", data_file());
    // Longer than what strings hold in place.
    const std::string counter = "the_first_of_all_counters";
    const std::string schema =
        std::regex_replace(sample_counters_schema(), std::regex("\"a\""), '"' + counter + '"');
    dir_.write(std::string("schema/schema_") + sample_counters_id + ".json", schema);
    dir_.write("some.fset", "[point]\nx\n[move, another type of event]\nname\ntrack\n^guid$\n");
    dir_.write("some.cset", "# tag=1\nan alias of some length=^the_first_of_all\nu\n");
    dir_.write("schema/metadata_x.json",
               R"({"metadata_content": {"counters": {"name_match_labels": [{"matches_and_labels": [
                   {"pattern_match": [")" +
                   counter + R"("], "labels": {"unit": "pkts", "number": 1}}]}]}}})");
    expect_all_or_nothing({"vrn_read", "-f", "ndjson", "-M", "-F", "some.fset", "--cset-file",
                           "some.cset", "data.bin"});
}

TEST_F(MemoryShortage, LeavesWholeText) {
    dir_.write("data.bin", data_file());
    expect_all_or_nothing({"vrn_read", "-f", "txt", "-p", "-g", "0", "data.bin"});
}

TEST_F(MemoryShortage, LeavesWholeInfluxLines) {
    dir_.write("data.bin", data_file());
    expect_all_or_nothing(
        {"vrn_read", "-f", "influx", "-i", "m*", "-i", "point", "-e", "n*", "data.bin"});
}

TEST_F(MemoryShortage, LeavesWholeFiles) {
    const std::string sample = sample_data_file();
    dir_.write("data.bin", sample.substr(0, header_size) +
                               sample.substr(header_size + 2 * block_size, block_size));
    expect_all_or_nothing({"vrn_read", "-f", "bin", "data.bin"});
}

}  // namespace
}  // namespace vrn::test
