#include "vrn_export/format/lines_text.h"

#include <array>

#include "utils/utf8.h"

namespace vrn::exporter {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

constexpr auto plain_bytes = [](std::string_view special) {
    std::array<bool, 256> is_plain{};
    for (std::size_t byte = 0x20; byte < 0x7f; ++byte) is_plain[byte] = true;
    for (const char byte : special) is_plain[static_cast<unsigned char>(byte)] = false;
    return is_plain;
};
constexpr auto plain_in_name = plain_bytes(",= \\\"");
constexpr auto plain_in_text = plain_bytes("\\\"");

// Takes the longest start of `text` that stands for itself off it.
std::string_view take_plain(const std::array<bool, 256> &is_plain, std::string_view *text) {
    std::size_t size = 0;
    while (size < text->size() && is_plain[static_cast<unsigned char>((*text)[size])]) ++size;
    const std::string_view plain = text->substr(0, size);
    text->remove_prefix(size);
    return plain;
}

Utf8Character take_character(std::string_view *text) {
    const Utf8Character character = first_utf8_character(*text);
    text->remove_prefix(character.bytes.size());
    return character;
}

void append_escaped(std::string_view text, std::string_view quote, TextBuffer *to) {
    while (!text.empty()) {
        to->append(take_plain(plain_in_name, &text));
        if (text.empty()) break;
        const Utf8Character character = take_character(&text);
        if (character.is_bad_byte()) {
            to->append(replacement);
        } else if (character.is_control()) {
            to->append('_');
        } else if (character.code == '\\') {
            // Before a separator it would escape it, and the format can't escape a backslash.
            to->append('/');
        } else if (character.code == '"') {
            to->append(quote);
        } else {
            // Of ASCII only ',', '=' and ' ' are left here.
            if (character.code < 0x80) to->append('\\');
            to->append(character.bytes);
        }
    }
}

}  // namespace

void append_lines_name(std::string_view name, TextBuffer *to) {
    // The mark of a comment at the start of a line.
    const bool has_mark = name.starts_with('#');
    if (has_mark || name.empty()) to->append('_');
    append_escaped(name.substr(has_mark ? 1 : 0), "'", to);
}

std::string lines_name(std::string_view name) {
    TextBuffer text;
    append_lines_name(name, &text);
    return std::string(text.view());
}

void append_lines_tag_value(std::string_view value, TextBuffer *to) {
    append_escaped(value, "\"", to);
}

bool append_lines_text(std::string_view text, TextBuffer *to) {
    bool is_same = true;
    to->append('"');
    while (!text.empty()) {
        to->append(take_plain(plain_in_text, &text));
        if (text.empty()) break;
        const Utf8Character character = take_character(&text);
        // Readers that split at line ends know no quotes.
        if (character.is_bad_byte() || character.code == '\n') {
            is_same = false;
            to->append(character.is_bad_byte() ? replacement : " ");
            continue;
        }
        if (character.code == '"' || character.code == '\\') to->append('\\');
        to->append(character.bytes);
    }
    to->append('"');
    return is_same;
}

}  // namespace vrn::exporter
