#include "vrn_collect/stop_signal.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

namespace vrn::collect {
namespace {

TEST(StopSignal, FirstIsToldAndSecondEndsTheProcess) {
    const auto soon = std::chrono::steady_clock::now();
    const auto late = soon + std::chrono::hours(1);
    const auto raise_twice = [&] {
        catch_stop_signals();
        if (wait_for_stop_signal(soon)) _exit(1);
        std::raise(SIGINT);
        if (!wait_for_stop_signal(late)) _exit(1);
        std::raise(SIGINT);
        _exit(1);
    };
    EXPECT_EXIT(raise_twice(), testing::KilledBySignal(SIGINT), "");
}

TEST(StopSignal, LeavesIgnoredSignalsIgnored) {
    const auto raise_ignored = [] {
        std::signal(SIGHUP, SIG_IGN);
        catch_stop_signals();
        std::raise(SIGHUP);
        _exit(wait_for_stop_signal(std::chrono::steady_clock::now()) ? 1 : 0);
    };
    EXPECT_EXIT(raise_ignored(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vrn::collect
