#include "metrics/metric_filter.h"

#include <gtest/gtest.h>

namespace vrn::test {
namespace {

using metrics::MetricFilter;
using metrics::PatternKind;

TEST(MetricFilter, TakesExactNames) {
    MetricFilter filter;
    EXPECT_FALSE(filter.passes("busy"));
    filter.add_name("busy");
    EXPECT_TRUE(filter.passes("busy"));
    EXPECT_FALSE(filter.passes("busy2"));
}

TEST(MetricFilter, TakesPatternsWhileTheyAreOn) {
    struct Case {
        PatternKind kind;
        const char *pattern;
        const char *matching;
        const char *other;
    };
    const Case cases[] = {
        {PatternKind::exact, "cpu", "cpu", "cpu0"},
        {PatternKind::prefix, "cpu", "cpu0", "0cpu"},
        {PatternKind::suffix, "cpu", "0cpu", "cpu0"},
        {PatternKind::contains, "cpu", "a_cpu_b", "cp_u"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.matching);
        MetricFilter filter;
        filter.add_pattern("zzz", PatternKind::exact);
        filter.add_pattern(c.pattern, c.kind);
        EXPECT_FALSE(filter.passes(c.matching));
        filter.set_use_patterns(true);
        EXPECT_TRUE(filter.passes(c.matching));
        EXPECT_FALSE(filter.passes(c.other));
    }
}

}  // namespace
}  // namespace vrn::test
