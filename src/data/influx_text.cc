#include "data/influx_text.h"

namespace vrn::data {

std::string influx_escape(std::string_view text, const std::vector<std::string> &escapes) {
    std::string escaped(text);
    for (const std::string &entry : escapes) {
        std::size_t place = escaped.find(entry);
        while (place != std::string::npos) {
            escaped.insert(place, 1, '\\');
            place = escaped.find(entry, place + 1 + entry.size());
        }
    }
    return escaped;
}

std::string influx_time(std::uint64_t timestamp) {
    constexpr std::uint64_t microseconds_per_millisecond = 1000;
    return ' ' + std::to_string(timestamp / microseconds_per_millisecond);
}

void influx_append_item(std::string *list, std::string_view key, std::string_view value) {
    if (!list->empty()) *list += ',';
    list->append(key).append(1, '=').append(value);
}

std::string influx_quoted(std::string_view text) {
    return std::string(1, '"').append(text).append(1, '"');
}

}  // namespace vrn::data
