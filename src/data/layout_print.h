// Prints shared by the on-disk records: "name = value" lines and layout tables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

void vrn_print_magic(std::FILE *stream, const char *label, const char *magic);
void vrn_print_u64(std::FILE *stream, const char *label, std::uint64_t value);

// Rows of a layout table on standard output; the heading comes first.
void vrn_print_layout_heading();
void vrn_print_layout_row(const char *name, std::size_t offset, std::size_t size);
// A flexible last field has no size.
void vrn_print_layout_open_row(const char *name, std::size_t offset);
