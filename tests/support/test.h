// What nearly every test needs: GoogleTest, the captured log, folders, and byte fixtures.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "support/byte_builder.h"
#include "support/captured_log.h"
#include "support/temp_dir.h"
#include "utils/c_ptr.h"

namespace vrn::test {

using Lines = std::vector<std::string>;

// Text that `write` writes to the stream it is given.
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

// What the exception says that `call` throws; empty when it throws none.
template <typename Call>
std::string error_of(Call call) {
    try {
        call();
    } catch (const std::exception &error) {
        return error.what();
    }
    return "";
}

}  // namespace vrn::test
