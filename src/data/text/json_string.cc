#include "data/text/json_string.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "data/text/printable.h"
#include "data/text/utf8.h"

namespace vrn {
namespace {

// A backslash, the letter u and four digits.
constexpr std::size_t max_escape_size = 6;
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

// Eight bytes at once: each line sets the highest bit of the bytes it looks for. A borrow may set
// that of the next byte, too, so that this is false also for some words of nothing but plain ASCII.
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

// Bytes that the compiler compares at once, where the machine can.
using Block = std::uint8_t __attribute__((vector_size(16)));

// Index of the first byte of a block that isn't printable ASCII or takes an escape; the size of the
// block when there is none.
std::size_t first_unusual(const std::uint8_t *bytes) {
    Block block;
    std::memcpy(&block, bytes, sizeof block);
    const auto found = (block - ' ' > '~' - ' ') | (block == '"') | (block == '\\');
    std::uint64_t words[2];
    static_assert(sizeof found == sizeof words);
    std::memcpy(words, &found, sizeof words);
    if (words[0] != 0) return static_cast<std::size_t>(std::countr_zero(words[0])) / 8;
    return 8 + static_cast<std::size_t>(std::countr_zero(words[1])) / 8;
}

// Copies whole blocks up to the first unusual byte; returns how many bytes that are.
std::size_t copy_usual(char *out, Bytes bytes) {
    std::size_t done = 0;
    while (bytes.size() - done >= sizeof(Block)) {
        std::memcpy(out + done, &bytes[done], sizeof(Block));
        const std::size_t usual = first_unusual(&bytes[done]);
        done += usual;
        if (usual < sizeof(Block)) break;
    }
    return done;
}

bool is_usual(std::uint8_t byte) {
    return byte - 0x20U < 0x7fU - 0x20U && escapes[byte] == 0;
}

}  // namespace

void append_json_string(std::string_view text, TextBuffer *to) {
    char *out = to->reserve(text.size() * max_escape_size + 2);
    *out++ = '"';
    out = write_escaped(out, text);
    *out++ = '"';
    to->advance_to(out);
}

bool append_checked_json_string(std::string_view text, TextBuffer *to) {
    char *out = to->reserve(text.size() * max_escape_size + 2);
    *out++ = '"';
    std::string_view rest = text;
    out = write_plain_words(out, &rest);
    if (!is_ascii(rest) && !is_utf8(text)) return false;
    out = write_escaped(out, rest);
    *out++ = '"';
    to->advance_to(out);
    return true;
}

char *write_plain_json(char *out, Bytes bytes) {
    *out++ = '"';
    std::size_t size = copy_usual(out, bytes);
    // Too few for a block.
    for (; size < bytes.size() && is_usual(bytes[size]); ++size)
        out[size] = static_cast<char>(bytes[size]);
    if (size < bytes.size() && bytes[size] != 0) return nullptr;
    out[size] = '"';
    return out + size + 1;
}

char *write_printable_json(char *out, Bytes bytes) {
    *out++ = '"';
    const std::size_t usual = copy_usual(out, bytes);
    out += usual;
    bytes = bytes.subspan(usual);
    const std::string_view rest(reinterpret_cast<const char *>(bytes.data()),
                                printable_length(bytes.data(), bytes.size()));
    if (!rest.empty()) {
        if (!is_ascii(rest) && !is_utf8(rest)) return nullptr;
        out = write_escaped(out, rest);
    }
    *out++ = '"';
    return out;
}

}  // namespace vrn
