#include "utils/hexdump.h"

#include <algorithm>

namespace {

constexpr std::size_t bytes_per_line = 16;
constexpr char hex_digits[] = "0123456789ABCDEF";

}  // namespace

void vrn_print_scaled_cell(std::FILE *stream, int width, std::int64_t value) {
    if (value > 999)
        // The blank and the unit take two columns of the cell. Negative numbers are never scaled.
        std::fprintf(stream, " %*lld k |", width - 2, static_cast<long long>(value / 1000));
    else
        std::fprintf(stream, " %*lld |", width, static_cast<long long>(value));
}

std::string vrn_hexdump_line(const void *data, std::size_t count) {
    const auto *bytes = static_cast<const unsigned char *>(data);
    std::string line;
    std::string text;
    for (std::size_t i = 0; i < bytes_per_line; ++i) {
        if (i < count) {
            const unsigned char byte = bytes[i];
            line.append({hex_digits[byte >> 4], hex_digits[byte & 15], ' '});
            text += byte >= 0x20 && byte <= 0x7E ? static_cast<char>(byte) : '.';
        } else {
            line += "   ";
        }
        // One more blank after each half of a line, also where a short line has only filler.
        if (i % 8 == 7) line += ' ';
    }
    return line + "|  " + text;
}

void vrn_hexdump(const void *data, std::size_t size, std::FILE *stream) {
    const auto *bytes = static_cast<const unsigned char *>(data);
    for (std::size_t start = 0; start < size; start += bytes_per_line) {
        const std::size_t count = std::min(bytes_per_line, size - start);
        // Pads the text column, which the log's own dump leaves ragged.
        const std::string padding(bytes_per_line - count, ' ');
        std::fprintf(stream, "%s%s \n", vrn_hexdump_line(bytes + start, count).c_str(),
                     padding.c_str());
    }
}
