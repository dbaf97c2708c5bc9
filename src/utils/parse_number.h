// Strict number parsers: C base rule (base 0), the whole text must be consumed, blanks included.
// They store the result and return true, or change nothing and return false.
#pragma once

#include <cstddef>
#include <cstdint>

[[nodiscard]] bool vrn_parse_long(const char *text, std::int64_t *out);
// A leading minus sign wraps around in the unsigned parsers, as in strtoul.
[[nodiscard]] bool vrn_parse_ulong(const char *text, std::uint64_t *out);
[[nodiscard]] bool vrn_parse_llong(const char *text, std::int64_t *out);
[[nodiscard]] bool vrn_parse_ullong(const char *text, std::uint64_t *out);
[[nodiscard]] bool vrn_parse_u64(const char *text, std::uint64_t *out);
[[nodiscard]] bool vrn_parse_u32(const char *text, std::uint32_t *out);
[[nodiscard]] bool vrn_parse_u16(const char *text, std::uint16_t *out);
[[nodiscard]] bool vrn_parse_u8(const char *text, std::uint8_t *out);
// Reads the first `length` bytes of `text`.
[[nodiscard]] bool vrn_parse_int_n(const char *text, std::size_t length, std::int32_t *out);
