#include "data/text/local_time_text.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "utils/c_ptr.h"

namespace vrn {
namespace {

constexpr std::uint64_t per_second = 1000000;
constexpr std::size_t microsecond_digits = 6;
constexpr std::size_t millisecond_digits = 3;

// The digits of a number of two or four digits.
void put(char *out, int width, int value) {
    for (; width > 0; --width, value /= 10) out[width - 1] = static_cast<char>('0' + value % 10);
}

// "YYYY-MM-DD hh:mm:ss." and room for microseconds; false for a year without four digits.
bool set_four_digit_year_text(std::uint64_t second, std::string *text) {
    const auto time = static_cast<std::time_t>(second);
    std::tm local{};
    if (!localtime_r(&time, &local) || local.tm_year < 1000 - 1900 || local.tm_year > 9999 - 1900)
        return false;
    *text = "0000-00-00 00:00:00.000000";
    put(&(*text)[0], 4, local.tm_year + 1900);
    put(&(*text)[5], 2, local.tm_mon + 1);
    put(&(*text)[8], 2, local.tm_mday);
    put(&(*text)[11], 2, local.tm_hour);
    put(&(*text)[14], 2, local.tm_min);
    put(&(*text)[17], 2, local.tm_sec);
    return true;
}

std::string any_year_text(std::uint64_t second) {
    const CString text(vrn_format_timestamp(second * per_second, true));
    return text ? text.get() : "";
}

}  // namespace

// The time zone is asked once a second: rows of one second share all but the fraction.
bool LocalTimeText::begin_second(std::uint64_t second) {
    if (!set_four_digit_year_text(second, &text_)) text_ = any_year_text(second);
    // A failed look-up must not leave the text of another second in use.
    second_ = UINT64_MAX;
    if (text_.empty()) return false;
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

char *vrn_format_timestamp(std::uint64_t timestamp, bool microseconds) {
    const auto seconds = static_cast<std::time_t>(timestamp / vrn::per_second);
    const auto rest = static_cast<int>(timestamp % vrn::per_second);
    std::tm local{};
    if (!localtime_r(&seconds, &local)) return nullptr;

    const int digits = microseconds ? 6 : 3;
    // Cut, not rounded: a rounded one could reach the next second.
    const int fraction = microseconds ? rest : rest / 1000;
    const auto print = [&](char *buffer, std::size_t size) {
        return std::snprintf(buffer, size, "%04d-%02d-%02d %02d:%02d:%02d.%0*d",
                             local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                             local.tm_min, local.tm_sec, digits, fraction);
    };
    const int length = print(nullptr, 0);
    if (length < 0) return nullptr;
    const std::size_t size = static_cast<std::size_t>(length) + 1;
    auto *text = static_cast<char *>(std::malloc(size));
    if (text) print(text, size);
    return text;
}

char *vrn_format_timestamp_ms(std::uint64_t timestamp) {
    return vrn_format_timestamp(timestamp, false);
}
