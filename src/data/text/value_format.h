// Raw values as text. Functions that return char * hand out a heap text that the caller frees, or
// null when out of memory. `format` is a vrn_string_format_t; formats that make no sense for a type
// warn at level 4 and take the type's default form, ids outside the table take it silently.
#pragma once

#include <cstddef>
#include <cstdint>

// Hexadecimal and binary forms show the 64 bits of a value, also of a negative or a double.
char *vrn_format_uint64_string(std::uint64_t value, std::uint32_t format);
char *vrn_format_int64_string(std::int64_t value, std::uint32_t format);
// Decimal texts are cut at 31 characters.
char *vrn_format_double_string(std::uint32_t format, double value);
// 16 bytes in storage order; null for null. Signed values are shown the same way. There is no
// decimal form: it warns and gives 32 hexadecimal digits without "0x", as ids outside the table do.
char *vrn_format_uint128_string(const void *data, std::uint32_t format);
char *vrn_format_int128_string(const void *data, std::uint32_t format);
// "0x" and 16 digits.
char *vrn_format_guid_string(std::uint64_t value);

// True when `name` holds "guid", in any mix of case, between characters that aren't letters.
bool vrn_name_is_guid_word(const char *name);
// True when `name` contains "guid" or "GUID" as a plain substring; false for null.
bool vrn_name_contains_guid(const char *name);

// Local time text of microseconds since the epoch, with 6 or 3 digits behind the point; null when
// the time can't be broken down.
char *vrn_format_timestamp(std::uint64_t timestamp, bool microseconds);
char *vrn_format_timestamp_ms(std::uint64_t timestamp);

// Appends to the text at `*position` of a buffer of `size` bytes, always terminates it, and moves
// `*position` to its end. Returns the count the formatter gave, also when the text was cut; 0 when
// the buffer was full before; -1 on null arguments, a size of 0 or a formatter error.
int vrn_buffer_appendf(char *buffer, std::size_t size, int *position, const char *format, ...)
    __attribute__((format(printf, 4, 5)));
