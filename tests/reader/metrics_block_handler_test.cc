#include "reader/metrics_block_handler.h"

#include "metrics/metrics_text.h"
#include "reader/record_text.h"
#include "support/stream_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

struct Outcome {
    bool done;
    std::string printed;
    std::string errors;
    Lines lines;
};

// The block lies on the heap with nothing behind it.
Outcome handle(const std::string &bytes) {
    vrn_reader_options_t options{};
    options.format = VRN_FORMAT_NDJSON;
    vrn_reader_t reader{};
    reader.options = &options;
    reader.file_name = "a.bin";
    const ExactBytes block(bytes);
    CapturedLog log;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const bool done =
        vrn_reader_handle_metrics_block(&reader, Bytes(block).data(), Bytes(block).size());
    vrn_reader_flush_text(&reader);
    std::fflush(stdout);
    delete reader.text;
    delete reader.metrics_text;
    return {done, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr(),
            log.take()};
}

std::string block_of(const metrics::CntxRecord &record) {
    metrics::CntxBuilder builder;
    builder.add_metric("m");
    builder.add_record(record);
    return builder.build();
}

TEST(MetricsBlockHandler, EndsTheBlockAtItsTotalSize) {
    const std::string block = metrics::CntxBuilder().build();
    for (const std::string &bytes :
         {block, block + "padding", with_total_size(block, 0xffffffff)}) {
        const Outcome outcome = handle(bytes);
        EXPECT_TRUE(outcome.done);
        EXPECT_EQ(outcome.printed, "{}\n");
        EXPECT_EQ(outcome.lines, Lines{});
    }
}

TEST(MetricsBlockHandler, NamesEachFault) {
    const std::string good = block_of({});
    const std::string failed = "3 failed to parse full block: ";
    const Lines missing_cntd = {
        "3 [vrn metrics parser] Invalid binary data format: Missing 'CNTD' magic number",
        failed + "Missing 'CNTD' magic number in the binary data"};
    struct Case {
        const char *name;
        std::string block;
        std::string errors;
        Lines lines;
    };
    // clang-format off
    const Case cases[] = {
        {"no mark", "VRNX", "", missing_cntd},
        {"size 0", with_total_size(good, 0), "", missing_cntd},
        {"cut", good.substr(0, good.size() - 1), "",
         {failed + "Invalid magic numbers in the binary data"}},
        {"bad constant labels", with_inserted(good, "CNTD", "CLBL\xff\xff"), "",
         {"3 [vrn metrics parser] Invalid binary data format: Missing 'clbl' suffix", failed +
          "Invalid binary data format: Missing suffix"}},
        {"unknown metric", block_of({.samples = {{1, 0}}}),
         "Failed processing file a.bin: Failed to JSONify metric values\n",
         {"3 failed to JSONify metrics: invalid metric id"}},
    };
    // clang-format on
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const Outcome outcome = handle(c.block);
        EXPECT_FALSE(outcome.done);
        EXPECT_EQ(outcome.printed, "");
        EXPECT_EQ(outcome.errors, c.errors);
        EXPECT_EQ(outcome.lines, c.lines);
    }
}

}  // namespace
}  // namespace vrn::test
