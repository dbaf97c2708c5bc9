// Text that a function writes to the stream it is given.
#pragma once

#include <cstdio>
#include <string>

#include "utils/c_ptr.h"

namespace vrn::test {

template <typename Write>
std::string captured_stream(Write write) {
    char *raw = nullptr;
    std::size_t size = 0;
    std::FILE *stream = open_memstream(&raw, &size);
    write(stream);
    std::fclose(stream);
    const CString text(raw);
    return {raw, size};
}

}  // namespace vrn::test
