// What nearly every test needs: GoogleTest, the captured log, folders, and byte fixtures.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/byte_builder.h"
#include "support/capture_stream.h"
#include "support/captured_log.h"
#include "support/temp_dir.h"
#include "utils/c_ptr.h"

namespace vrn::test {

using Lines = std::vector<std::string>;

}  // namespace vrn::test
