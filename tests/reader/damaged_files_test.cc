// Reads every truncation and many damaged forms of the sample files; the sanitizers judge.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "reader/reader.h"
#include "reader/reader_options.h"
#include "reader/sample_files.h"
#include "support/test.h"
#include "utils/log.h"

namespace vrn::test {
namespace {

// Sends standard output to the null device while in scope.
class QuietOutput {
  public:
    QuietOutput() : output_(dup(STDOUT_FILENO)), errors_(dup(STDERR_FILENO)) {
        std::fflush(stdout);
        const int null_device = open("/dev/null", O_WRONLY);
        dup2(null_device, STDOUT_FILENO);
        dup2(null_device, STDERR_FILENO);
        close(null_device);
    }
    ~QuietOutput() {
        std::fflush(stdout);
        dup2(output_, STDOUT_FILENO);
        dup2(errors_, STDERR_FILENO);
        close(output_);
        close(errors_);
    }
    QuietOutput(const QuietOutput &) = delete;
    QuietOutput &operator=(const QuietOutput &) = delete;

  private:
    int output_;
    int errors_;
};

class DamagedFiles : public testing::Test {
  protected:
    void SetUp() override {
        vrn_init_stderr_logger(0);
        write_sample_schemas(dir_);
        options_.schema_path = strdup(dir_.file("schema").c_str());
        vrn_string_array_append(&options_.include_counters, "*");
        options_.timestamp_lt = UINT64_MAX;
    }
    void TearDown() override { vrn_reader_options_clear(&options_); }

    bool reads(const std::string &bytes, vrn_output_format_t format) {
        const std::string path = dir_.write("data.bin", bytes);
        options_.format = format;
        return vrn_read_data_file(path.c_str(), &options_, true);
    }

    void read_all_ways(const std::string &bytes) {
        reads(bytes, VRN_FORMAT_NDJSON);
        reads(bytes, VRN_FORMAT_TXT);
    }

    TempDir dir_;
    vrn_reader_options_t options_{};
};

TEST_F(DamagedFiles, WholeSampleIsRead) {
    testing::internal::CaptureStdout();
    const bool done = reads(sample_data_file(), VRN_FORMAT_NDJSON);
    std::fflush(stdout);
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(done);
    // Two events of each type, in a chunk and in a page; counters in a chunk, a page and at the
    // end.
    EXPECT_EQ(std::ranges::count(output, '\n'), 4 + 4 + 1 + 2 + 1);
}

TEST_F(DamagedFiles, EveryTruncationIsReadSafely) {
    const std::string sample = sample_data_file();
    const QuietOutput quiet;
    for (std::size_t length = 0; length < sample.size(); ++length)
        read_all_ways(sample.substr(0, length));
}

TEST_F(DamagedFiles, EveryChangedByteIsReadSafely) {
    const std::string sample = sample_data_file();
    const QuietOutput quiet;
    for (std::size_t place = 0; place < sample.size(); ++place) {
        std::string damaged = sample;
        // Each bit has its turn over the run of the loop.
        damaged[place] = static_cast<char>(damaged[place] ^ (1 << place % 8));
        read_all_ways(damaged);
    }
}

TEST_F(DamagedFiles, EveryChangedByteOfASchemaIsReadSafely) {
    const std::string sample = sample_data_file();
    const auto damage = [&](const char *id, const std::string &schema) {
        const std::string name = std::string("schema/schema_") + id + ".json";
        for (std::size_t place = 0; place < schema.size(); ++place) {
            std::string damaged = schema;
            // A digit turns numbers into other numbers and texts into other texts.
            damaged[place] = damaged[place] == '9' ? '0' : '9';
            dir_.write(name, damaged);
            read_all_ways(sample);
        }
        dir_.write(name, schema);
    };
    const QuietOutput quiet;
    damage(sample_events_id, sample_event_schema());
    damage(sample_counters_id, sample_counters_schema());
}

}  // namespace
}  // namespace vrn::test
