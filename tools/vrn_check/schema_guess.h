// Schemas for blocks whose own are no longer named.
#pragma once

#include <cstdint>
#include <functional>

#include "vrn_check/header_repair.h"

namespace vrn::check {

// How badly schemas describe a file.
struct Misfit {
    std::uint64_t left_out = 0;  // bytes that aren't zeros
    std::uint64_t kept = 0;      // of two that leave out the same the shorter rows fit
};

// Gives places of `header` that name no schema the one that fits best, if one fits better than none
// at all; what the header keeps stays. `misfit` tells how well a header describes the file.
void guess_schemas(const KnownSchemas &known,
                   const std::function<Misfit(const FoundHeader &)> &misfit, FoundHeader *header);

}  // namespace vrn::check
