#include "utils/log.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <sstream>
#include <thread>

#include "support/test.h"

namespace vrn::test {
namespace {

// Each test starts with a log that was never used and without its variables.
class LogTest : public testing::Test {
  protected:
    LogTest() { reset(); }
    ~LogTest() override {
        reset();
        vrn_init_stderr_logger(0);
    }

    static void reset() {
        vrn_log_registered = false;
        vrn_log_callback = nullptr;
        vrn_log_level = 0;
        vrn_close_logger();
        vrn_log_level = VRN_LOG_UNINITIALIZED;
        vrn_log_stream = nullptr;
        vrn_log_mutex = nullptr;
    }

    // Lines of the file sink at `path_`; each must begin with a time, which is cut.
    Lines take_lines() {
        vrn_close_logger();
        Lines lines;
        std::istringstream stream(read_file(path_));
        for (std::string line; std::getline(stream, line);) {
            EXPECT_THAT(line, testing::MatchesRegex("\\[[0-9]{4}-[0-9]{2}-[0-9]{2} "
                                                    "[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}\\] .*"));
            lines.push_back(line.size() > time_width ? line.substr(time_width) : line);
        }
        return lines;
    }

    static constexpr std::size_t time_width = sizeof "[2026-07-02 16:11:44.015] " - 1;
    ScopedEnv no_level_{"VRN_API_LOG_LEVEL", nullptr};
    ScopedEnv no_bare_level_{"API_LOG_LEVEL", nullptr};
    ScopedEnv no_thread_safe_{"VRN_LOG_THREAD_SAFE", nullptr};
    ScopedEnv no_bare_thread_safe_{"LOG_THREAD_SAFE", nullptr};
    TempDir dir_;
    std::string path_ = dir_.file("log");
};

TEST_F(LogTest, FirstMessageStartsItFromTheEnvironment) {
    // clang-format off
    const struct { const char *prefixed, *bare; std::uint32_t level; bool is_shown; } cases[] = {
        {nullptr, nullptr, 0, false}, {"7", "3", 7, false}, {nullptr, "7", 7, false},
        {"abc", nullptr, 0, false}, {"3x", nullptr, 3, false},
        {"-1", nullptr, VRN_LOG_UNINITIALIZED, true},
    };
    // clang-format on
    // Makes a message on the way, which must not start the log again.
    const ScopedEnv thread_safe("VRN_LOG_THREAD_SAFE", "0");
    for (const auto &c : cases) {
        SCOPED_TRACE(c.prefixed ? c.prefixed : "unset");
        const ScopedEnv prefixed("VRN_API_LOG_LEVEL", c.prefixed);
        const ScopedEnv bare("API_LOG_LEVEL", c.bare);
        reset();
        testing::internal::CaptureStderr();
        VRN_LOG(200, "of level 200");
        const std::string text = testing::internal::GetCapturedStderr();
        EXPECT_EQ(text.ends_with("of level 200\n"), c.is_shown) << text;
        EXPECT_EQ(vrn_log_level, c.level);
        EXPECT_EQ(vrn_log_stream, stderr);
    }
}

TEST_F(LogTest, LinesHaveTimeTagAndText) {
    ASSERT_TRUE(vrn_init_file_logger(path_.c_str(), 7));
    for (std::uint32_t level = 0; level <= 8; ++level) VRN_LOG(level, "at %u\tx", level);
    EXPECT_EQ(take_lines(),
              (Lines{"at 0\tx", "at 1\tx", "at 2\tx", "[error] at 3\tx", "[warning] at 4\tx",
                     "at 5\tx", "[info] at 6\tx", "[debug] at 7\tx"}));
}

TEST_F(LogTest, HiddenMessagesDoNotEvaluateTheirArguments) {
    ASSERT_TRUE(vrn_init_file_logger(path_.c_str(), 3));
    int evaluated = 0;
    VRN_LOG(VRN_LOG_WARNING, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(vrn_log_set_level(4), 3u);
    VRN_LOG(VRN_LOG_WARNING, "%d", ++evaluated);
    EXPECT_EQ(take_lines(), Lines{"[warning] 1"});
}

TEST_F(LogTest, FileIsEmptiedAndFallsBackToStandardError) {
    dir_.write("log", "old");
    ASSERT_TRUE(vrn_init_file_logger(path_.c_str(), 6));
    EXPECT_EQ(read_file(path_), "");
    EXPECT_FALSE(vrn_init_file_logger(dir_.file("none/log").c_str(), 4));
    EXPECT_EQ(vrn_log_kind, VRN_LOG_KIND_STDERR);
    EXPECT_EQ(vrn_log_stream, stderr);
    EXPECT_EQ(vrn_log_level, 4u);
}

TEST_F(LogTest, ThreadSafetyIsOnUnlessToldOtherwise) {
    const Lines told = {
        "[debug] [logger] [_vrn_init_logger_mutex] Thread safety is disabled by environment "
        "variable VRN_LOG_THREAD_SAFE",
        "[debug] [logger] [vrn_init_file_logger] Initialized logger without thread-safety"};
    const std::pair<const char *, bool> cases[] = {
        {nullptr, true}, {"", true}, {"yes", true}, {"0", false}, {"on", false}};
    for (const auto &[value, has_mutex] : cases) {
        SCOPED_TRACE(value ? value : "unset");
        const ScopedEnv thread_safe("LOG_THREAD_SAFE", value);
        reset();
        ASSERT_TRUE(vrn_init_file_logger(path_.c_str(), 7));
        EXPECT_EQ(vrn_log_mutex != nullptr, has_mutex);
        const ScopedEnv quiet("LOG_THREAD_SAFE", nullptr);
        EXPECT_EQ(take_lines(), has_mutex ? Lines{} : told);
    }
}

TEST_F(LogTest, LinesOfThreadsStayWhole) {
    ASSERT_TRUE(vrn_init_file_logger(path_.c_str(), 6));
    const std::string text(300, 'x');
    const auto write = [&text] {
        for (int i = 0; i < 100; ++i) VRN_LOG(VRN_LOG_INFO, "%s", text.c_str());
    };
    std::thread threads[] = {std::thread(write), std::thread(write), std::thread(write)};
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(take_lines(), Lines(300, "[info] " + text));
}

std::string received;

void remember(std::int32_t level, const char *format, ...) {
    received += std::to_string(level) + format;
}

TEST_F(LogTest, CallbackReceivesTheFormatUnexpanded) {
    received.clear();
    ASSERT_TRUE(vrn_init_file_logger(path_.c_str(), 3));
    vrn_log_register_callback(remember, 6);
    VRN_LOG(VRN_LOG_INFO, "a %d", 1);
    VRN_LOG(VRN_LOG_DEBUG, "hidden");
    EXPECT_EQ(received, "6a %d");
    EXPECT_EQ(read_file(path_), "");
    const CPtr<vrn_log_state_t, std::free> state(vrn_log_export_state());
    EXPECT_EQ(state->kind, VRN_LOG_KIND_CALLBACK);
    EXPECT_EQ(state->callback, remember);
    EXPECT_EQ(state->stream, nullptr);  // only what its kind uses
    EXPECT_EQ(state->level, 6u);
    EXPECT_EQ(state->mutex, vrn_log_mutex);
    std::fclose(vrn_log_stream);  // closing the log no longer does
}

TEST_F(LogTest, ImportedStateCanNotBeStartedOrClosedHere) {
    ASSERT_TRUE(vrn_init_file_logger(path_.c_str(), 6));
    const CPtr<vrn_log_state_t, std::free> state(vrn_log_export_state());
    EXPECT_FALSE(vrn_log_import_state(nullptr));
    EXPECT_TRUE(vrn_log_import_state(state.get()));
    EXPECT_FALSE(vrn_log_registered);  // nothing was new

    state->level = 7;
    EXPECT_TRUE(vrn_log_import_state(state.get()));
    EXPECT_TRUE(vrn_log_registered);
    EXPECT_EQ(vrn_log_stream, state->stream);
    EXPECT_FALSE(vrn_init_stderr_logger(1));
    EXPECT_FALSE(vrn_init_syslog_logger("x", 1));
    EXPECT_FALSE(vrn_init_file_logger("x", 1));
    vrn_close_logger();
    EXPECT_EQ(vrn_log_level, 7u);

    vrn_log_registered = false;
    const auto refused = [](const std::string &kind) {
        return "[debug] [logger] [vrn_init_" + kind +
               "_logger] registered logger cannot initialize logger";
    };
    EXPECT_EQ(take_lines(), (Lines{refused("stderr"), refused("syslog"), refused("file"),
                                   "[debug] [logger] [vrn_close_logger] tried closing a registered "
                                   "logger, skipping closure"}));
}

TEST_F(LogTest, HexdumpPadsItsLastLine) {
    const std::string data = std::string("\x00\x1F\x41~\x7F\xFF", 6) + "0123456789a";
    CapturedLog log(7);
    for (const std::size_t size : {0, 9, 17}) vrn_log_hexdump(data.data(), size);
    EXPECT_EQ(log.take(),
              (Lines{"7 00 1F 41 7E 7F FF 30 31  32                       |  ..A~..012 ",
                     "7 00 1F 41 7E 7F FF 30 31  32 33 34 35 36 37 38 39  |  ..A~..0123456789 ",
                     "7 61                                                |  a "}));
    const CapturedLog quiet(6);
    vrn_log_hexdump(data.data(), 17);
    EXPECT_EQ(log.take(), Lines{});
}

}  // namespace
}  // namespace vrn::test
