#include "reader/file_output.h"

#include <cstdarg>
#include <cstdio>

namespace vrn::reader {

void FileOutput::fail(const char *format, ...) const {
    std::fprintf(stderr, "Failed processing file %s: ", file_name);
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
    std::fflush(stderr);
}

}  // namespace vrn::reader
