#include "reader/metrics_output.h"

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

// The block lies on the heap with nothing after it.
Outcome handle(const std::string &bytes) {
    vrn_reader_options_t options{};
    options.format = VRN_FORMAT_NDJSON;
    reader::RecordOutput records(options.format);
    reader::FileOutput output = {options, "a.bin", records};
    reader::MetricsOutput metrics;
    const ExactBytes block(bytes);
    CapturedLog log;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const bool done = metrics.show(block, &output);
    records.flush();
    std::fflush(stdout);
    return {done, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr(),
            log.take()};
}

TEST(MetricsOutput, EndsBlocksAtTheirTotalSizeAndNamesEachFault) {
    metrics::CntxBuilder unknown_metric;
    unknown_metric.add_record({.samples = {{0, 0}}});
    const std::string good = metrics::CntxBuilder().build();
    const std::string invalid = "3 [vrn metrics parser] Invalid binary data format: Missing ";
    const std::string failed = "3 failed to parse full block: ";
    const Lines missing_cntd = {invalid + "'CNTD' magic number",
                                failed + "Missing 'CNTD' magic number in the binary data"};
    // clang-format off
    const struct { const char *name; std::string block, printed, errors; Lines lines; } cases[] = {
        {"whole", good, "{}\n", "", {}},
        {"padded", good + "padding", "{}\n", "", {}},
        {"huge size", with_total_size(good, 0xffffffff), "{}\n", "", {}},
        {"no mark", "VRNX", "", "", missing_cntd},
        {"size 0", with_total_size(good, 0), "", "", missing_cntd},
        {"cut", good.substr(0, good.size() - 1), "", "",
         {failed + "Invalid magic numbers in the binary data"}},
        {"bad constant labels", with_inserted(good, "CNTD", "CLBL\xff\xff"), "", "",
         {invalid + "'clbl' suffix", failed + "Invalid binary data format: Missing suffix"}},
        {"unknown metric", unknown_metric.build(), "",
         "Failed processing file a.bin: Failed to JSONify metric values\n",
         {"3 failed to JSONify metrics: invalid metric id"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const Outcome outcome = handle(c.block);
        EXPECT_EQ(outcome.done, !c.printed.empty());
        EXPECT_EQ(outcome.printed, c.printed);
        EXPECT_EQ(outcome.errors, c.errors);
        EXPECT_EQ(outcome.lines, c.lines);
    }
}

}  // namespace
}  // namespace vrn::test
