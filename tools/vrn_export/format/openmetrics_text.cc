#include "vrn_export/format/openmetrics_text.h"

#include <charconv>
#include <cmath>

#include "data/text/double_text.h"
#include "utils/utf8.h"

namespace vrn::exporter {
namespace {

// The shortest text of a double has 24 characters at most.
constexpr std::size_t double_size = 32;

bool is_digit(char character) {
    return character >= '0' && character <= '9';
}

// No colons, though the format has them: they are kept for rules at the server.
bool is_name_character(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           is_digit(character) || character == '_';
}

}  // namespace

std::string openmetrics_name(std::string_view name) {
    std::string valid(name);
    for (char &character : valid)
        if (!is_name_character(character)) character = '_';
    if (valid.empty() || is_digit(valid.front())) valid.insert(0, 1, '_');
    return valid;
}

std::string openmetrics_label_name(std::string_view name) {
    std::string valid = openmetrics_name(name);
    // Such labels are the server's own.
    return valid.starts_with("__") ? "label" + valid : valid;
}

void append_openmetrics_value(std::string_view value, TextBuffer *to) {
    while (!value.empty()) {
        const Utf8Character character = first_utf8_character(value);
        value.remove_prefix(character.bytes.size());
        if (character.is_bad_byte()) {
            to->append("\xEF\xBF\xBD");
        } else if (character.code == '\n') {
            to->append("\\n");
        } else {
            if (character.code == '"' || character.code == '\\') to->append('\\');
            to->append(character.bytes);
        }
    }
}

void append_openmetrics_double(double value, TextBuffer *to) {
    if (std::isnan(value)) return to->append("NaN");
    if (std::isinf(value)) return to->append(value > 0 ? "+Inf" : "-Inf");
    to->advance_to(write_shortest_double(to->reserve(DOUBLE_TEXT_ROOM), value));
}

// A bound is the value of a label: readers compare its text, so each number has one form only.
std::string openmetrics_bound(double bound) {
    if (std::isinf(bound)) return bound > 0 ? "+Inf" : "-Inf";
    char buffer[double_size];
    const double size = std::abs(bound);
    const bool is_plain = size == 0 || (size >= 1e-4 && size < 1e6);
    const auto format = is_plain ? std::chars_format::fixed : std::chars_format::scientific;
    std::string text(buffer, std::to_chars(buffer, buffer + double_size, bound, format).ptr);
    if (is_plain && text.find('.') == text.npos) text += ".0";
    return text;
}

void append_openmetrics_time(std::uint64_t time, TextBuffer *to) {
    constexpr std::uint64_t second = 1000000;
    to->integer(time / second);
    // Six digits after the point, from those of a number with seven.
    char *out = to->reserve(INTEGER_TEXT_SIZE);
    char *end = write_integer(out, second + time % second);
    *out = '.';
    to->advance_to(end);
}

}  // namespace vrn::exporter
