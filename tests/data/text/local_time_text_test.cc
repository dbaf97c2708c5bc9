#include "data/text/local_time_text.h"

#include <ctime>

#include "support/test.h"

namespace vrn::test {
namespace {

TEST(LocalTimeText, ShowsLocalTimeAndTruncates) {
    const ScopedEnv zone("TZ", "EST+5");
    tzset();
    const struct {
        std::uint64_t timestamp;
        const char *microseconds;
        const char *milliseconds;
    } cases[] = {
        {1500, "1969-12-31 19:00:00.001500", "1969-12-31 19:00:00.001"},
        {1782000000999999, "2026-06-20 19:00:00.999999", "2026-06-20 19:00:00.999"},
        // The largest time is still one that can be broken down.
        {UINT64_MAX, "586524-01-19 03:01:49.551615", "586524-01-19 03:01:49.551"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.timestamp);
        const CString micro(vrn_format_timestamp(c.timestamp, true));
        const CString milli(vrn_format_timestamp(c.timestamp, false));
        const CString milli_too(vrn_format_timestamp_ms(c.timestamp));
        EXPECT_STREQ(micro.get(), c.microseconds);
        EXPECT_STREQ(milli.get(), c.milliseconds);
        EXPECT_STREQ(milli_too.get(), milli.get());
        LocalTimeText text;
        EXPECT_EQ(text.of(c.timestamp, true), c.microseconds);
        EXPECT_EQ(text.of(c.timestamp, false), c.milliseconds);
    }
}

}  // namespace
}  // namespace vrn::test
