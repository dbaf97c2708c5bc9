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

constexpr std::size_t indent_size = 4;
// Sign, 17 digits, point, exponent of a number: 24 bytes at most.
constexpr std::size_t max_number_size = 32;
constexpr std::size_t max_escape_size = 6;
// From here on doubles are printed with an exponent.
constexpr double exponent_limit = 1e17;
// Up to here all integers are doubles.
constexpr std::uint64_t exact_limit = std::uint64_t{1} << 53;

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

char *write_escaped(char *out, std::string_view text) {
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (escapes[byte] == 0)
            *out++ = character;
        else
            out = write_escape(out, byte, escapes[byte]);
    }
    return out;
}

// The bytes at `text`, up to the end of the last step, go to `out`.
char *write_in_steps(char *out, std::string_view text) {
    for (std::size_t done = 0; done < text.size(); done += VRN_JSON_KEY_STEP)
        std::memcpy(out + done, text.data() + done, VRN_JSON_KEY_STEP);
    return out + text.size();
}

bool is_ascii(std::string_view text) {
    unsigned char all = 0;
    for (const char character : text) all |= static_cast<unsigned char>(character);
    return all < 0x80;
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

// Room must have been reserved.
char *JsonText::line_break(char *out) const {
    static constexpr char blanks[] = "\n                               ";
    static_assert(sizeof blanks == VRN_JSON_KEY_STEP + 1);
    std::memcpy(out, blanks, VRN_JSON_KEY_STEP);
    const std::size_t size = 1 + level_ * indent_size;
    if (size > VRN_JSON_KEY_STEP)
        std::memset(out + VRN_JSON_KEY_STEP, ' ', size - VRN_JSON_KEY_STEP);
    return out + size;
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

void JsonText::member(std::string_view key) {
    char *out = reserve(key.size() + 3 + level_ * indent_size);
    *out = ',';
    out += is_empty_ ? 0 : 1;
    is_empty_ = false;
    if (pretty_) out = line_break(out);
    out = write_in_steps(out, key);
    if (pretty_ && !key.empty()) *out++ = ' ';
    advance_to(out);
}

void JsonText::key(std::string_view name) {
    member({});
    escaped(name);
    literal(pretty_ ? ": " : ":");
}

bool JsonText::integer(std::uint64_t value) {
    if (value > exact_limit) return number(static_cast<double>(value));
    char *out = reserve(max_number_size);
    advance_to(std::to_chars(out, out + max_number_size, value).ptr);
    return true;
}

bool JsonText::signed_integer(std::int64_t value) {
    if (value >= 0) return integer(static_cast<std::uint64_t>(value));
    const std::uint64_t magnitude = -static_cast<std::uint64_t>(value);
    if (magnitude > exact_limit) return number(static_cast<double>(value));
    *reserve(1) = '-';
    ++size_;
    return integer(magnitude);
}

bool JsonText::number(double value) {
    if (!std::isfinite(value)) return false;
    char *out = reserve(max_number_size);
    char *const end = out + max_number_size;
    if (std::abs(value) < exponent_limit && !(value == 0 && std::signbit(value))) {
        const auto whole = static_cast<std::int64_t>(value);
        if (static_cast<double>(whole) == value) {
            advance_to(std::to_chars(out, end, whole).ptr);
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
