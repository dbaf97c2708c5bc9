#include "metrics/store/histogram_names.h"

#include <cmath>
#include <limits>

#include "support/test.h"

namespace vrn::test {
namespace {

using namespace metrics;

TEST(HistogramNames, TellsDerivativesByTheirSuffix) {
    const struct {
        const char *name, *base;
        DerivativeType type;
    } cases[] = {
        {"a_bucket", "a", DerivativeType::bucket},
        {"a_sum", "a", DerivativeType::sum},
        {"a_count", "a", DerivativeType::count},
        {"a_count_sum", "a_count", DerivativeType::sum},
        {"_sum_count", "_sum", DerivativeType::count},
    };
    for (const auto &[name, base, type] : cases) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(is_derivative_name(name));
        EXPECT_EQ(strip_derivative_suffix(name), base);
        EXPECT_EQ(get_derivative_type(name), type);
        EXPECT_EQ(get_derivative_name(base, type), name);
        EXPECT_TRUE(is_derivative_of(name, base));
        EXPECT_FALSE(is_derivative_of(name, "b"));
    }
    for (const char *name : {"", "_sum", "_bucket", "_count", "a", "a_sums"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(is_derivative_name(name));
        EXPECT_EQ(strip_derivative_suffix(name), name);
        EXPECT_FALSE(is_derivative_of(name, name));
    }
}

TEST(HistogramNames, RefusesWhatIsNoDerivative) {
    CapturedLog log;
    const std::string no_suffix =
        "get_derivative_type() reached unreachable code path for metric: _sum";
    const std::string no_type = "get_derivative_name() received invalid DerivativeType: 3";
    EXPECT_EQ(error_of([] { get_derivative_type("_sum"); }), no_suffix);
    EXPECT_EQ(error_of([] { get_derivative_name("a", DerivativeType{3}); }), no_type);
    EXPECT_EQ(log.take(), (Lines{"3 [vrn native histogram] " + no_suffix,
                                 "3 [vrn native histogram] " + no_type}));
}

TEST(HistogramNames, WritesBoundsWithSixDigits) {
    const double bounds[] = {0.5, -1e-7, 1e20, INFINITY, -INFINITY, NAN};
    Lines texts;
    for (const double bound : bounds) texts.push_back(format_bucket_bound(bound));
    EXPECT_EQ(texts, (Lines{"0.500000", "-0.000000", "100000000000000000000.000000", "+Inf", "-Inf",
                            "nan"}));
    EXPECT_EQ(format_bucket_bound(-std::numeric_limits<double>::max()).size(), 317u);
}

}  // namespace
}  // namespace vrn::test
