// Reads damaged forms of the sample files; the sanitizers judge.
#include <algorithm>
#include <cctype>
#include <cstdio>

#include "reader/reader.h"
#include "reader/reader_options.h"
#include "support/sample_files.h"
#include "support/test.h"
#include "utils/log.h"

namespace vrn::test {
namespace {

// Runs of zeros, which are padding or empty places, are sampled.
bool is_telling(const std::string &bytes, std::size_t place) {
    constexpr std::size_t reach = 4;
    const std::size_t first = place - std::min(place, reach);
    return place % 16 == 0 || bytes.find_first_not_of('\0', first) <= place + reach;
}

// Every digit; of a word or a run of signs one damaged byte is like another.
bool begins_token(const std::string &text, std::size_t place) {
    const auto is_word = [&text](std::size_t at) { return std::isalnum(text[at]) != 0; };
    return std::isdigit(text[place]) || place == 0 || is_word(place) != is_word(place - 1);
}

class DamagedFiles : public testing::Test {
  protected:
    void SetUp() override {
        vrn_init_stderr_logger(0);
        write_sample_schemas(dir_);
        options_.schema_path = strdup(dir_.file("schema").c_str());
        EXPECT_TRUE(vrn_string_array_append(&options_.include_counters, "*"));
        options_.timestamp_lt = UINT64_MAX;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }
    void TearDown() override {
        std::fflush(stdout);
        testing::internal::GetCapturedStdout();
        testing::internal::GetCapturedStderr();
        vrn_reader_options_clear(&options_);
    }

    bool read_all_ways(const std::string &bytes) {
        const std::string path = dir_.write("data.bin", bytes);
        bool done = true;
        for (const vrn_output_format_t format : {VRN_FORMAT_NDJSON, VRN_FORMAT_TXT}) {
            options_.format = format;
            done &= vrn_read_data_file(path.c_str(), &options_, true);
        }
        return done;
    }

    const std::string sample_ = sample_data_file();
    TempDir dir_;
    vrn_reader_options_t options_{};
};

TEST_F(DamagedFiles, WholeSampleIsRead) {
    EXPECT_TRUE(read_all_ways(sample_));
    std::fflush(stdout);
    const std::string output = testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
    // Two events of each type, in a chunk and in a page; counters in a chunk, a page and at the
    // end, and as tables of nine lines.
    EXPECT_EQ(std::ranges::count(output, '\n'), 4 + 4 + 1 + 2 + 1 + 4 * 9);
}

TEST_F(DamagedFiles, EveryChangedByteIsReadSafely) {
    for (std::size_t place = 0; place < sample_.size(); ++place) {
        if (!is_telling(sample_, place)) continue;
        std::string damaged = sample_;
        // Each bit has its turn over the run of the loop.
        damaged[place] = static_cast<char>(damaged[place] ^ (1 << place % 8));
        read_all_ways(damaged);
    }
}

TEST_F(DamagedFiles, EveryChangedTokenOfASchemaIsReadSafely) {
    const auto damage = [this](const char *id, const std::string &schema) {
        const std::string name = std::string("schema/schema_") + id + ".json";
        for (std::size_t place = 0; place < schema.size(); ++place) {
            if (!begins_token(schema, place)) continue;
            std::string damaged = schema;
            // A digit turns numbers into other numbers and texts into other texts.
            damaged[place] = damaged[place] == '9' ? '0' : '9';
            dir_.write(name, damaged);
            read_all_ways(sample_);
        }
        dir_.write(name, schema);
    };
    damage(sample_events_id, sample_event_schema());
    damage(sample_counters_id, sample_counters_schema());
}

}  // namespace
}  // namespace vrn::test
