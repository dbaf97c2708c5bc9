#include "data/local_time_text.h"

#include "data/value_format.h"
#include "utils/c_ptr.h"

namespace vrn {
namespace {

constexpr std::uint64_t per_second = 1000000;
constexpr std::size_t microsecond_digits = 6;
constexpr std::size_t millisecond_digits = 3;

}  // namespace

bool LocalTimeText::begin_second(std::uint64_t second) {
    const CString whole(vrn_format_timestamp(second * per_second, true));
    if (!whole) return false;
    text_ = whole.get();
    prefix_size_ = text_.size() - microsecond_digits;
    second_ = second;
    return true;
}

std::string_view LocalTimeText::of(std::uint64_t timestamp, bool microseconds) {
    const std::uint64_t second = timestamp / per_second;
    if (second != second_ && !begin_second(second)) return {};
    std::uint64_t fraction = timestamp % per_second;
    for (std::size_t digit = microsecond_digits; digit > 0; --digit, fraction /= 10)
        text_[prefix_size_ + digit - 1] = static_cast<char>('0' + fraction % 10);
    return std::string_view(text_).substr(
        0, prefix_size_ + (microseconds ? microsecond_digits : millisecond_digits));
}

}  // namespace vrn
