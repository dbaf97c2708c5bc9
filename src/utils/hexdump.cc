#include "utils/hexdump.h"

#include <algorithm>
#include <string>

void vrn_print_scaled_cell(std::FILE *stream, int width, std::int64_t value) {
    if (value > 999)
        std::fprintf(stream, " %*lld k |", width - 2, static_cast<long long>(value / 1000));
    else
        std::fprintf(stream, " %*lld |", width, static_cast<long long>(value));
}

void vrn_hexdump(const void *data, std::size_t size, std::FILE *stream) {
    constexpr std::size_t per_line = 16;
    const auto *bytes = static_cast<const unsigned char *>(data);
    for (std::size_t start = 0; start < size; start += per_line) {
        const std::size_t count = std::min(per_line, size - start);
        std::string text(per_line, ' ');
        for (std::size_t i = 0; i < per_line; ++i) {
            if (i < count) {
                const unsigned char byte = bytes[start + i];
                std::fprintf(stream, "%02X ", byte);
                text[i] = byte >= 0x20 && byte <= 0x7E ? static_cast<char>(byte) : '.';
            } else {
                std::fputs("   ", stream);
            }
            if (i % 8 == 7) std::fputc(' ', stream);
        }
        std::fprintf(stream, "|  %s \n", text.c_str());
    }
}
