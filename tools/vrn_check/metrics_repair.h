// What is left of a damaged metrics block.
#pragma once

#include <string>

#include "utils/byte_reader.h"
#include "vrn_check/kept_block.h"

namespace vrn::check {

struct RepairedMetrics {
    std::string block;     // a sound block of the whole records; empty when there is none
    std::size_t size = 0;  // bytes that it stood in
    bool is_as_found = false;
    TimeSpan times;
};

// Of the block that begins `bytes`, which end where another may begin.
RepairedMetrics repair_metrics(Bytes bytes);

}  // namespace vrn::check
