#include "data/text/buffer_append.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>

int vrn_buffer_appendf(char *buffer, std::size_t size, int *position, const char *format, ...) {
    if (!buffer || size == 0 || !position) return -1;
    // Positions are ints: no text goes on beyond what one can name.
    size = std::min<std::size_t>(size, INT_MAX);
    const int last = static_cast<int>(size) - 1;
    if (*position < 0) *position = 0;
    // Deliberate: a full buffer is no failure, and what would follow isn't counted.
    if (*position > last) {
        *position = last;
        buffer[last] = '\0';
        return 0;
    }

    char *const end = buffer + *position;
    const int room = last - *position;
    std::va_list arguments;
    va_start(arguments, format);
    const int count = std::vsnprintf(end, static_cast<std::size_t>(room) + 1, format, arguments);
    va_end(arguments);
    if (count < 0) {
        *end = '\0';
        return -1;
    }
    // The formatter cut the text; its end is where the buffer's is.
    if (count > room) buffer[last] = '\0';
    *position = count > room ? last : *position + count;
    return count;
}
