// What nearly every test needs: GoogleTest, the captured log, folders, and byte fixtures.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "support/byte_builder.h"
#include "support/capture_stream.h"
#include "support/captured_log.h"
#include "support/temp_dir.h"
#include "utils/c_ptr.h"

namespace vrn::test {

using Lines = std::vector<std::string>;

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
