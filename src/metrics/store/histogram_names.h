// Names of the plain series that are derived from a histogram.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vrn::metrics {

enum class DerivativeType : std::uint32_t {
    bucket = 0,  // count of one bucket, told by the label "le"
    sum = 1,
    count = 2,
};

// True when the name is longer than its suffix "_bucket", "_sum" or "_count".
bool is_derivative_name(std::string_view name);

// True when the name is that of a series derived from `base`.
bool is_derivative_of(std::string_view name, std::string_view base);

// The name without such a suffix, of which one is taken off.
std::string strip_derivative_suffix(std::string_view name);

// Throws std::logic_error, after an error line, for a name without suffix.
DerivativeType get_derivative_type(const std::string &name);

// Throws std::logic_error, after an error line, for a number that is no type.
std::string get_derivative_name(std::string_view base, DerivativeType type);

// Text of an upper bound for the label "le": "+Inf", "-Inf", or six digits after the point.
std::string format_bucket_bound(double bound);

}  // namespace vrn::metrics
