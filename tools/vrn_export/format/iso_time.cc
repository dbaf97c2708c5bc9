#include "vrn_export/format/iso_time.h"

namespace vrn::exporter {
namespace {

constexpr std::uint64_t second = 1'000'000, day = 86'400 * second;
// From here on a year would need more than its four digits.
constexpr std::uint64_t year_10000 = 253'402'300'800 * second;

char *write_padded(char *out, std::uint64_t number, std::size_t digits) {
    for (std::size_t i = digits; i > 0; --i, number /= 10)
        out[i - 1] = static_cast<char>('0' + number % 10);
    return out + digits;
}

// Years are counted from March on, so that a leap day is the last one of its year.
char *write_date(char *out, std::uint64_t days_since_epoch) {
    constexpr std::uint64_t days_before_epoch = 719'468;  // since 0000-03-01
    constexpr std::uint64_t days_per_era = 146'097;       // of 400 years
    const std::uint64_t days = days_since_epoch + days_before_epoch;
    const std::uint64_t era = days / days_per_era, in_era = days % days_per_era;
    const std::uint64_t year = (in_era - in_era / 1460 + in_era / 36524 - in_era / 146096) / 365;
    const std::uint64_t in_year = in_era - (365 * year + year / 4 - year / 100);
    // Every five months from March on have 153 days.
    const std::uint64_t month = (5 * in_year + 2) / 153;  // 0 is March
    const bool is_next_year = month >= 10;
    out = write_padded(out, era * 400 + year + (is_next_year ? 1 : 0), 4);
    *out++ = '-';
    out = write_padded(out, is_next_year ? month - 9 : month + 3, 2);
    *out++ = '-';
    return write_padded(out, in_year - (153 * month + 2) / 5 + 1, 2);
}

}  // namespace

char *write_iso_time(char *out, std::uint64_t time) {
    if (time >= year_10000) return out;
    out = write_date(out, time / day);
    *out++ = 'T';
    const std::uint64_t in_day = time % day;
    out = write_padded(out, in_day / second / 3600, 2);
    *out++ = ':';
    out = write_padded(out, in_day / second / 60 % 60, 2);
    *out++ = ':';
    out = write_padded(out, in_day / second % 60, 2);
    *out++ = '.';
    out = write_padded(out, in_day % second, 6);
    *out++ = 'Z';
    return out;
}

}  // namespace vrn::exporter
