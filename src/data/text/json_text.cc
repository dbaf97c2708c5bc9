#include "data/text/json_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>

#include "data/text/json_value.h"
#include "data/text/utf8.h"

namespace vrn {
namespace {

constexpr std::size_t max_escape_size = 6;
// From here on doubles are printed with an exponent.
constexpr double exponent_limit = 1e17;
// For each byte the letter after its backslash, 'u' for four hexadecimal digits, 0 for none.
constexpr std::array<char, 256> make_escapes() {
    std::array<char, 256> escapes{};
    std::fill_n(escapes.begin(), 0x20, 'u');
    escapes['\b'] = 'b';
    escapes['\f'] = 'f';
    escapes['\n'] = 'n';
    escapes['\r'] = 'r';
    escapes['\t'] = 't';
    escapes['"'] = '"';
    escapes['\\'] = '\\';
    return escapes;
}

constexpr std::array<char, 256> escapes = make_escapes();
constexpr char hex_digits[] = "0123456789abcdef";

char *write_escape(char *out, unsigned char byte, char letter) {
    *out++ = '\\';
    *out++ = letter;
    if (letter != 'u') return out;
    *out++ = '0';
    *out++ = '0';
    *out++ = hex_digits[byte >> 4];
    *out++ = hex_digits[byte & 15];
    return out;
}

// Eight bytes. False also for some words of nothing but plain ASCII.
bool is_plain_word(std::uint64_t word) {
    constexpr std::uint64_t ones = 0x0101010101010101;
    const std::uint64_t quotes = (word ^ ones * '"') - ones;
    const std::uint64_t backslashes = (word ^ ones * '\\') - ones;
    const std::uint64_t controls = word - ones * ' ';
    return ((word | quotes | backslashes | controls) & ones * 0x80) == 0;
}

std::uint64_t word_at(const char *text) {
    std::uint64_t word = 0;
    std::memcpy(&word, text, sizeof word);
    return word;
}

// Copies whole words for as long as they need no second look.
char *write_plain_words(char *out, std::string_view *text) {
    for (; text->size() >= 8 && is_plain_word(word_at(text->data())); text->remove_prefix(8)) {
        std::memcpy(out, text->data(), 8);
        out += 8;
    }
    return out;
}

char *write_escaped(char *out, std::string_view text) {
    out = write_plain_words(out, &text);
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (escapes[byte] == 0)
            *out++ = character;
        else
            out = write_escape(out, byte, escapes[byte]);
    }
    return out;
}

}  // namespace

JsonText::JsonText(JsonLayout layout)
    : pretty_(layout == JsonLayout::pretty), colon_gap_(pretty_ ? 1 : 0) {
    separator_ = pretty_ ? ",\n" : ",";
    set_level(0);
}

// The level is set back too: what failed may have stood in objects that were never closed.
void JsonText::rewind(const Mark &mark) {
    cut(mark.size);
    set_level(mark.level);
    is_empty_ = mark.is_empty;
}

void JsonText::set_level(std::size_t level) {
    constexpr std::size_t indent_size = 4;
    level_ = level;
    if (pretty_) separator_size_ = 2 + level * indent_size;
    // Never shrinks: deeper levels come and go with every record.
    if (separator_.size() < separator_size_ + step) separator_.resize(separator_size_ + step, ' ');
}

void JsonText::open(char bracket) {
    append(bracket);
    set_level(level_ + 1);
    is_empty_ = 1;
}

void JsonText::close(char bracket) {
    set_level(level_ - 1);
    char *out = reserve(separator_size_ + 1);
    if (pretty_ && is_empty_ == 0)
        out = copy_in_steps(out, &separator_[1], separator_size_ - 1);  // no comma
    *out++ = bracket;
    is_empty_ = 0;
    advance_to(out);
}

void JsonText::key(std::string_view name) {
    element();
    escaped(name);
    append(pretty_ ? ": " : ":");
}

bool JsonText::number(double value) {
    if (!std::isfinite(value)) return false;
    advance_to(write_number(reserve(max_number_size), value));
    return true;
}

// parson prints "%1.17g": whole numbers below the limit have neither point nor exponent there.
// A negative zero keeps its sign.
char *JsonText::write_number(char *out, double value) {
    if (std::abs(value) < exponent_limit && !(value == 0 && std::signbit(value))) {
        const auto whole = static_cast<std::int64_t>(value);
        if (static_cast<double>(whole) == value) {
            if (whole < 0) *out++ = '-';
            return write_digits(out, static_cast<std::uint64_t>(std::abs(whole)));
        }
    }
    return std::to_chars(out, out + max_number_size, value, std::chars_format::general, 17).ptr;
}

void JsonText::hex(std::uint64_t value) {
    static constexpr std::string_view prefix = "\"0x";
    char *out = std::ranges::copy(prefix, reserve(max_number_size)).out;
    out = write_hex_digits(out, value);
    *out++ = '"';
    advance_to(out);
}

bool JsonText::string(std::string_view text) {
    char *out = reserve(text.size() * max_escape_size + 2);
    *out++ = '"';
    std::string_view rest = text;
    out = write_plain_words(out, &rest);
    if (!is_ascii(rest) && !is_utf8(text)) return false;
    out = write_escaped(out, rest);
    *out++ = '"';
    advance_to(out);
    return true;
}

void JsonText::escaped(std::string_view text) {
    char *out = reserve(text.size() * max_escape_size + 2);
    *out++ = '"';
    out = write_escaped(out, text);
    *out++ = '"';
    advance_to(out);
}

bool JsonText::tree(const JSON_Value *value) {
    const vrn_json_text_ptr text(pretty_ ? json_serialize_to_string_pretty(value)
                                         : json_serialize_to_string(value));
    if (text) append(text.get());
    return text != nullptr;
}

}  // namespace vrn
