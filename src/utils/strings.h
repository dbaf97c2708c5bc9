// Plain text routines. Functions that return char * hand out a heap string that the caller frees.
#pragma once

#include <cstddef>
#include <cstdint>

// True for null (deliberate), "1", "True" and "true"; false for all else.
bool vrn_str_is_true(const char *text);
const char *vrn_bool_to_str(bool value);

// Removes isspace characters from both ends in place; returns the first character that is left.
char *vrn_trim(char *text);

// 0 to 15, or -1.
int vrn_hex_nibble(char character);

// Reads hexadecimal pairs, '-' skipped anywhere, into `bytes`, which has room for 17. True when
// exactly 16 bytes were made.
[[nodiscard]] bool vrn_parse_uuid(const char *text, std::uint8_t *bytes);

// Copies a text that may be null, which leaves `to` alone; false when out of memory.
[[nodiscard]] bool vrn_copy_text(const char *from, char **to);
// The text, or an empty one for null.
inline const char *vrn_text_or_empty(const char *text) {
    return text ? text : "";
}

[[nodiscard]] char *string_concat(const char *a, const char *b);
// `list`, a comma and `token`; a copy of `token` when `list` is null or empty. `list` is not freed.
[[nodiscard]] char *string_concat_comma_separated_token(const char *list, const char *token);

// Position of match number `index` (from 0, overlaps count) of `needle` in `text`.
[[nodiscard]] bool find_ith_substr(const char *text, const char *needle, std::size_t index,
                                   std::size_t *position);

// Text after the last '/', or all of it; null for null or empty.
[[nodiscard]] char *vrn_path_basename(const char *path);

bool vrn_str_ends_with(const char *text, const char *suffix);

// Copies at most `to_size` - 1 of `from_length` bytes and terminates; returns the number copied.
std::size_t vrn_copy_bounded(char *to, std::size_t to_size, const char *from,
                             std::size_t from_length);

// Copies the leading characters 0x20 to 0x7E into the `length` bytes at `to`, zero-padded; "N/A"
// when the first one is outside. Returns `to`.
char *strncpy_visible_ascii(char *to, const char *from, std::size_t length);
