#include "vrn_export/time_value.h"

#include <charconv>
#include <chrono>
#include <limits>
#include <string_view>

#include "common/command_line.h"

namespace vrn::exporter {
namespace {

using Microseconds = std::chrono::microseconds;

// Takes its parts from the front of a text; what isn't there is left.
class TimeText {
  public:
    explicit TimeText(std::string_view text) : rest_(text) {}

    bool is_empty() const { return rest_.empty(); }

    bool skip(char character) {
        if (!rest_.starts_with(character)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    // Exactly so many digits.
    bool number(std::size_t digits, int max, int *value) {
        const char *begin = rest_.data();
        // from_chars() would take the sign for a digit's place.
        if (rest_.size() < digits || rest_.front() == '-') return false;
        const auto [end, error] = std::from_chars(begin, begin + digits, *value);
        if (error != std::errc() || end != begin + digits || *value > max) return false;
        rest_.remove_prefix(digits);
        return true;
    }

    // Digits after the point; those below a microsecond are cut.
    bool fraction(Microseconds *value) {
        int scale = 1'000'000;
        std::size_t count = 0;
        for (; count < rest_.size() && rest_[count] >= '0' && rest_[count] <= '9'; ++count) {
            scale /= 10;
            *value += Microseconds((rest_[count] - '0') * scale);
        }
        rest_.remove_prefix(count);
        return count > 0;
    }

  private:
    std::string_view rest_;
};

bool parse_date(TimeText *text, Microseconds *time) {
    int year = 0;
    int month = 0;
    int day = 0;
    if (!text->number(4, 9999, &year) || !text->skip('-') || !text->number(2, 12, &month) ||
        !text->skip('-') || !text->number(2, 31, &day))
        return false;
    const std::chrono::year_month_day date{std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    // No 30 February.
    if (!date.ok()) return false;
    *time = std::chrono::sys_days(date).time_since_epoch();
    return true;
}

bool parse_clock(TimeText *text, Microseconds *time) {
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (!text->number(2, 23, &hour) || !text->skip(':') || !text->number(2, 59, &minute))
        return false;
    const bool has_second = text->skip(':');
    // A leap second counts as the first second of the next minute.
    if (has_second && !text->number(2, 60, &second)) return false;
    *time += std::chrono::hours(hour) + std::chrono::minutes(minute) + std::chrono::seconds(second);
    return !has_second || !text->skip('.') || text->fraction(time);
}

bool parse_zone(TimeText *text, Microseconds *time) {
    if (text->is_empty() || text->skip('Z')) return true;
    const bool is_west = text->skip('-');
    int hours = 0;
    int minutes = 0;
    if ((!is_west && !text->skip('+')) || !text->number(2, 23, &hours)) return false;
    text->skip(':');
    if (!text->is_empty() && !text->number(2, 59, &minutes)) return false;
    const auto offset = std::chrono::hours(hours) + std::chrono::minutes(minutes);
    // Clocks east of Greenwich are ahead of UTC.
    *time += is_west ? offset : -offset;
    return true;
}

bool parse_iso(const char *from, Microseconds *time) {
    TimeText text(from);
    if (!parse_date(&text, time)) return false;
    const bool has_clock = text.skip('T') || text.skip(' ');
    return (!has_clock || parse_clock(&text, time)) && parse_zone(&text, time) && text.is_empty();
}

}  // namespace

std::uint64_t time_value(const char *text) {
    Microseconds time{};
    // A zone may lead to before the epoch. No plain number is taken for a date, for want of '-'.
    if (parse_iso(text, &time) && time.count() >= 0)
        return static_cast<std::uint64_t>(time.count());
    try {
        return tool::number_value(text, 0, std::numeric_limits<std::uint64_t>::max());
    } catch (const tool::BadValue &) {
        throw tool::BadValue("microseconds since the epoch or an ISO 8601 time");
    }
}

}  // namespace vrn::exporter
