// Pieces of line protocol texts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vrn::data {

// `text` with a backslash before each occurrence of each entry. Backslashes themselves stay.
std::string influx_escape(std::string_view text, const std::vector<std::string> &escapes);

// The end of a line: a blank and the time. Files hold microseconds, lines milliseconds.
std::string influx_time(std::uint64_t timestamp);

// Appends an item to a list that commas join.
void influx_append_item(std::string *list, std::string_view key, std::string_view value);

// Integers carry an "i".
template <typename T>
std::string influx_integer(T value) {
    return std::to_string(value) + 'i';
}

std::string influx_quoted(std::string_view text);

}  // namespace vrn::data
