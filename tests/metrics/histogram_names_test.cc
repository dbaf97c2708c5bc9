#include "metrics/histogram_names.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/captured_log.h"

namespace vrn::test {
namespace {

using metrics::DerivativeType;
using Lines = std::vector<std::string>;

template <typename Call>
std::string error_of(Call call) {
    try {
        call();
    } catch (const std::logic_error &error) {
        return error.what();
    }
    return "";
}

TEST(HistogramNames, TellsDerivativesByTheirSuffix) {
    struct Case {
        const char *name;
        const char *base;
        DerivativeType type;
    };
    const Case cases[] = {
        {"a_bucket", "a", DerivativeType::bucket},
        {"a_sum", "a", DerivativeType::sum},
        {"a_count", "a", DerivativeType::count},
        {"a_count_sum", "a_count", DerivativeType::sum},
        {"_sum_count", "_sum", DerivativeType::count},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(metrics::is_derivative_name(c.name));
        EXPECT_EQ(metrics::strip_derivative_suffix(c.name), c.base);
        EXPECT_EQ(metrics::get_derivative_type(c.name), c.type);
        EXPECT_EQ(metrics::get_derivative_name(c.base, c.type), c.name);
        EXPECT_TRUE(metrics::is_derivative_of(c.name, c.base));
        EXPECT_FALSE(metrics::is_derivative_of(c.name, "b"));
    }
    for (const char *name : {"", "_sum", "_bucket", "_count", "a", "a_sums"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(metrics::is_derivative_name(name));
        EXPECT_EQ(metrics::strip_derivative_suffix(name), name);
        EXPECT_FALSE(metrics::is_derivative_of(name, name));
    }
}

TEST(HistogramNames, RefusesWhatIsNoDerivative) {
    CapturedLog log;
    const std::string no_suffix =
        "get_derivative_type() reached unreachable code path for metric: _sum";
    const std::string no_type = "get_derivative_name() received invalid DerivativeType: 3";
    EXPECT_EQ(error_of([] { metrics::get_derivative_type("_sum"); }), no_suffix);
    EXPECT_EQ(error_of([] { metrics::get_derivative_name("a", DerivativeType{3}); }), no_type);
    EXPECT_EQ(log.take(), (Lines{"3 [vrn native histogram] " + no_suffix,
                                 "3 [vrn native histogram] " + no_type}));
}

TEST(HistogramNames, WritesBoundsWithSixDigits) {
    EXPECT_EQ(metrics::format_bucket_bound(0.5), "0.500000");
    EXPECT_EQ(metrics::format_bucket_bound(-1e-7), "-0.000000");
    EXPECT_EQ(metrics::format_bucket_bound(1e20), "100000000000000000000.000000");
    EXPECT_EQ(metrics::format_bucket_bound(INFINITY), "+Inf");
    EXPECT_EQ(metrics::format_bucket_bound(-INFINITY), "-Inf");
    EXPECT_EQ(metrics::format_bucket_bound(NAN), "nan");
    EXPECT_EQ(metrics::format_bucket_bound(-std::numeric_limits<double>::max()).size(), 317u);
}

}  // namespace
}  // namespace vrn::test
