#include "data/serial/influx_text.h"

namespace vrn::data {

std::string influx_escape(std::string_view text, const std::vector<std::string> &escapes) {
    std::string escaped(text);
    // Deliberate: backslashes of the text itself stay, so escapes can't always be undone.
    for (const std::string &entry : escapes) {
        std::size_t place = escaped.find(entry);
        while (place != std::string::npos) {
            escaped.insert(place, 1, '\\');
            place = escaped.find(entry, place + 1 + entry.size());
        }
    }
    return escaped;
}

void influx_write_time(TextBuffer *text, std::uint64_t timestamp) {
    constexpr std::uint64_t microseconds_per_millisecond = 1000;
    text->append(' ');
    text->integer(timestamp / microseconds_per_millisecond);
}

}  // namespace vrn::data
