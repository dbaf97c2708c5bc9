// Small prints shared by tables and diagnostics.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

// Table cell of a number; above 999 in thousands, with a 'k'.
void vrn_print_scaled_cell(std::FILE *stream, int width, std::int64_t value);

// Hexadecimal and text columns, 16 bytes a line.
void vrn_hexdump(const void *data, std::size_t size, std::FILE *stream);
