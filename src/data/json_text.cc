#include "data/json_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <string>

#include "utils/c_ptr.h"

namespace vrn {
namespace {

constexpr std::size_t max_escape_size = 6;
// From here on doubles are printed with an exponent.
constexpr double exponent_limit = 1e17;
// For each byte the letter behind its backslash, 'u' for four hexadecimal digits, 0 for none.
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

bool is_ascii(std::string_view text) {
    std::uint64_t all = 0;
    for (; text.size() >= sizeof all; text.remove_prefix(sizeof all)) all |= word_at(text.data());
    for (const char character : text) all |= static_cast<unsigned char>(character);
    return (all & 0x8080808080808080) == 0;
}

char *write_escaped(char *out, std::string_view text) {
    for (; text.size() >= 8 && is_plain_word(word_at(text.data())); text.remove_prefix(8), out += 8)
        std::memcpy(out, text.data(), 8);
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (escapes[byte] == 0)
            *out++ = character;
        else
            out = write_escape(out, byte, escapes[byte]);
    }
    return out;
}

// parson's own rule; it reads on to a terminator.
bool is_utf8(std::string_view text) {
    const std::string copy(text);
    return CPtr<JSON_Value, json_value_free>(
               json_value_init_string_with_len(copy.data(), copy.size())) != nullptr;
}

}  // namespace

void JsonText::rewind(const Mark &mark) {
    size_ = mark.size;
    level_ = mark.level;
    is_empty_ = mark.is_empty;
}

void JsonText::grow(std::size_t count) {
    constexpr std::size_t first_capacity = 4096;
    const std::size_t capacity = std::max({first_capacity, capacity_ * 2, size_ + count});
    auto larger = std::make_unique_for_overwrite<char[]>(capacity + slack);
    if (size_ > 0) std::memcpy(larger.get(), buffer_.get(), size_);
    buffer_ = std::move(larger);
    capacity_ = capacity;
}

void JsonText::open(char bracket) {
    *reserve(1) = bracket;
    ++size_;
    ++level_;
    is_empty_ = true;
}

void JsonText::close(char bracket) {
    --level_;
    char *out = reserve(2 + level_ * indent_size);
    if (pretty_ && !is_empty_) out = line_break(out);
    *out++ = bracket;
    is_empty_ = false;
    advance_to(out);
}

void JsonText::key(std::string_view name) {
    member({});
    escaped(name);
    literal(pretty_ ? ": " : ":");
}

bool JsonText::number(double value) {
    if (!std::isfinite(value)) return false;
    char *out = reserve(max_number_size);
    char *const end = out + max_number_size;
    if (std::abs(value) < exponent_limit && !(value == 0 && std::signbit(value))) {
        const auto whole = static_cast<std::int64_t>(value);
        if (static_cast<double>(whole) == value) {
            if (whole < 0) *out++ = '-';
            advance_to(write_digits(out, static_cast<std::uint64_t>(std::abs(whole))));
            return true;
        }
    }
    advance_to(std::to_chars(out, end, value, std::chars_format::general, 17).ptr);
    return true;
}

void JsonText::hex(std::uint64_t value) {
    constexpr int digits = 16;
    char *out = reserve(digits + 4);
    out = std::ranges::copy(std::string_view("\"0x"), out).out;
    for (int i = 0; i < digits; ++i) {
        value = std::rotl(value, 4);
        *out++ = hex_digits[value & 15];
    }
    *out++ = '"';
    advance_to(out);
}

bool JsonText::string(std::string_view text) {
    if (!is_ascii(text) && !is_utf8(text)) return false;
    escaped(text);
    return true;
}

void JsonText::escaped(std::string_view text) {
    char *out = reserve(text.size() * max_escape_size + 2);
    *out++ = '"';
    out = write_escaped(out, text);
    *out++ = '"';
    advance_to(out);
}

void JsonText::literal(std::string_view text) {
    advance_to(std::ranges::copy(text, reserve(text.size())).out);
}

bool JsonText::tree(const JSON_Value *value) {
    const CPtr<char, json_free_serialized_string> text(
        pretty_ ? json_serialize_to_string_pretty(value) : json_serialize_to_string(value));
    if (text) literal(text.get());
    return text != nullptr;
}

}  // namespace vrn
