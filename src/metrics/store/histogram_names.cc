#include "metrics/store/histogram_names.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <stdexcept>

#include "utils/log.h"

namespace vrn::metrics {
namespace {

struct Derivative {
    std::string_view suffix;
    DerivativeType type;
};

// In the order in which a name is tested.
constexpr Derivative derivatives[] = {{"_bucket", DerivativeType::bucket},
                                      {"_sum", DerivativeType::sum},
                                      {"_count", DerivativeType::count}};

// The derivative that a name ends with; null when there is none.
const Derivative *find_derivative(std::string_view name) {
    // A name that is all suffix has no base, so it is none of a derivative.
    for (const Derivative &derivative : derivatives)
        if (name.size() > derivative.suffix.size() && name.ends_with(derivative.suffix))
            return &derivative;
    return nullptr;
}

}  // namespace

bool is_derivative_name(std::string_view name) {
    return find_derivative(name);
}

bool is_derivative_of(std::string_view name, std::string_view base) {
    return is_derivative_name(name) && strip_derivative_suffix(name) == base;
}

std::string strip_derivative_suffix(std::string_view name) {
    const Derivative *derivative = find_derivative(name);
    if (derivative) name.remove_suffix(derivative->suffix.size());
    return std::string(name);
}

DerivativeType get_derivative_type(const std::string &name) {
    if (const Derivative *derivative = find_derivative(name)) return derivative->type;
    constexpr char what[] = "get_derivative_type() reached unreachable code path for metric: ";
    VRN_LOG(VRN_LOG_ERROR, "[vrn native histogram] %s%s", what, name.c_str());
    throw std::logic_error(what + name);
}

std::string get_derivative_name(std::string_view base, DerivativeType type) {
    for (const Derivative &derivative : derivatives)
        if (derivative.type == type) return std::string(base).append(derivative.suffix);
    constexpr char what[] = "get_derivative_name() received invalid DerivativeType: ";
    const auto number = static_cast<std::int32_t>(type);
    VRN_LOG(VRN_LOG_ERROR, "[vrn native histogram] %s%d", what, number);
    throw std::logic_error(what + std::to_string(number));
}

std::string format_bucket_bound(double bound) {
    if (std::isinf(bound)) return bound > 0 ? "+Inf" : "-Inf";
    // Room for the 309 digits of the largest number.
    char text[400];
    const auto end = std::to_chars(text, text + sizeof text, bound, std::chars_format::fixed, 6);
    return {text, end.ptr};
}

}  // namespace vrn::metrics
