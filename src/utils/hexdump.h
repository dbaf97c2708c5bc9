// Small prints shared by tables and diagnostics.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

// Table cell of a number; above 999 in thousands, with a 'k'.
void vrn_print_scaled_cell(std::FILE *stream, int width, std::int64_t value);

// Hexadecimal and text columns of up to 16 bytes, without a line end.
std::string vrn_hexdump_line(const void *data, std::size_t count);
// Such lines, the text column padded.
void vrn_hexdump(const void *data, std::size_t size, std::FILE *stream);
