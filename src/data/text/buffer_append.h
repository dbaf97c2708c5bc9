// printf into a buffer of a fixed size, piece by piece.
#pragma once

#include <cstddef>

// Appends to the text at `*position` of a buffer of `size` bytes, always terminates it, and moves
// `*position` to its end. Returns the count the formatter gave, also when the text was cut; 0 when
// the buffer was full before; -1 on null arguments, a size of 0 or a formatter error.
int vrn_buffer_appendf(char *buffer, std::size_t size, int *position, const char *format, ...)
    __attribute__((format(printf, 4, 5)));
