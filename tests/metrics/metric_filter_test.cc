#include "metrics/metric_filter.h"

#include "support/test.h"

namespace vrn::test {
namespace {

using metrics::PatternKind;

TEST(MetricFilter, TakesNamesAndWhileTheyAreOnPatterns) {
    const struct {
        PatternKind kind;
        const char *matching, *other;  // of the pattern "cpu"
    } cases[] = {
        {PatternKind::exact, "cpu", "cpu0"},
        {PatternKind::prefix, "cpu0", "0cpu"},
        {PatternKind::suffix, "0cpu", "cpu0"},
        {PatternKind::contains, "a_cpu_b", "cp_u"},
    };
    for (const auto &[kind, matching, other] : cases) {
        SCOPED_TRACE(matching);
        metrics::MetricFilter filter;
        filter.add_name("busy");
        filter.add_pattern("zzz", PatternKind::exact);
        filter.add_pattern("cpu", kind);
        EXPECT_FALSE(filter.passes(matching));
        filter.set_use_patterns(true);
        EXPECT_TRUE(filter.passes(matching));
        EXPECT_FALSE(filter.passes(other));
        EXPECT_TRUE(filter.passes("busy"));
        EXPECT_FALSE(filter.passes("busy2"));
    }
}

}  // namespace
}  // namespace vrn::test
