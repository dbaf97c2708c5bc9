#include "utils/log_capture.h"

#include <thread>

#include "support/test.h"

namespace vrn::test {
namespace {

using Taken = std::vector<LogLine>;

TEST(LogCapture, TakesTheMessagesOfItsThreadAlone) {
    CapturedLog log(6);
    LogCapture outer;
    VRN_LOG(VRN_LOG_ERROR, "%s %d", "outer", 1);
    VRN_LOG(VRN_LOG_DEBUG, "below the level");
    {
        LogCapture inner;
        VRN_LOG(VRN_LOG_WARNING, "inner");
        std::thread([] { VRN_LOG(VRN_LOG_INFO, "other thread"); }).join();
        EXPECT_EQ(inner.take(), (Taken{{4, "inner"}}));
    }
    VRN_LOG(VRN_LOG_INFO, "outer again");
    EXPECT_EQ(outer.take(), (Taken{{3, "outer 1"}, {6, "outer again"}}));
    EXPECT_EQ(outer.take(), Taken{});
    EXPECT_EQ(log.take(), Lines{"6 other thread"});
}

TEST(LogCapture, LetsLinesBeLoggedAgain) {
    CapturedLog log(6);
    Taken lines;
    {
        LogCapture capture;
        VRN_LOG(VRN_LOG_ERROR, "100%% of %s", "%s");
        lines = capture.take();
    }
    log_again(lines);
    EXPECT_EQ(log.take(), Lines{"3 100% of %s"});
}

}  // namespace
}  // namespace vrn::test
