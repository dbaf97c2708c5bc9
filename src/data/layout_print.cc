#include "data/layout_print.h"

#include <cinttypes>

void vrn_print_magic(std::FILE *stream, const char *label, const char *magic) {
    // Four bytes without a terminator; a NUL among them ends the text.
    std::fprintf(stream, " %-20s = %4.4s\n", label, magic);
}

void vrn_print_u64(std::FILE *stream, const char *label, std::uint64_t value) {
    std::fprintf(stream, " %-20s = %" PRIu64 "\n", label, value);
}

void vrn_print_layout_heading() {
    // Column widths are pinned: the tables are compared as texts.
    std::puts("Field                       Offset    Size");
}

void vrn_print_layout_row(const char *name, std::size_t offset, std::size_t size) {
    std::printf(" %-25s  %-8zu  %-zu\n", name, offset, size);
}

void vrn_print_layout_open_row(const char *name, std::size_t offset) {
    std::printf(" %-25s  %-8zu\n", name, offset);
}
