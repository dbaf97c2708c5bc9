#include "utils/hexdump.h"

#include <csignal>

#include "support/test.h"
#include "utils/force_exit.h"
#include "utils/log.h"

namespace vrn::test {
namespace {

TEST(Hexdump, PadsTheLastLine) {
    const std::string data = std::string("\x00\x1F ~\x7F\xFF", 6) + "0123456789abcdefgh";
    const auto dump = [&](std::size_t size) {
        return captured_stream([&](std::FILE *stream) { vrn_hexdump(data.data(), size, stream); });
    };
    const std::string full_line =
        "00 1F 20 7E 7F FF 30 31  32 33 34 35 36 37 38 39  |  .. ~..0123456789 \n";
    EXPECT_EQ(dump(0), "");
    EXPECT_EQ(dump(16), full_line);
    EXPECT_EQ(dump(24), full_line +
                            "61 62 63 64 65 66 67 68                           |  abcdefgh         "
                            "\n");
    EXPECT_EQ(dump(1), "00                                                |  .                \n");
}

TEST(ScaledCell, CountsThousandsAbove999) {
    // clang-format off
    const struct { int width; std::int64_t value; const char *expected; } cases[] = {
        {6, 999, "    999 |"}, {6, 1000, "    1 k |"}, {6, 1999999, " 1999 k |"},
        {6, -5000, "  -5000 |"}, {2, 12345, " 12 k |"},
    };
    // clang-format on
    for (const auto &[width, value, expected] : cases)
        EXPECT_EQ(captured_stream([=, width = width, value = value](std::FILE *stream) {
                      vrn_print_scaled_cell(stream, width, value);
                  }),
                  expected);
}

TEST(ForceExit, KillsItsOwnProcess) {
    EXPECT_EXIT((vrn_init_stderr_logger(VRN_LOG_INFO), vrn_force_exit()),
                testing::KilledBySignal(SIGKILL),
                "\\[info\\] Force exiting process with code \\(SIGKILL\\)");
}

}  // namespace
}  // namespace vrn::test
