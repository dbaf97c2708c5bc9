// The command line of vrn_check.
#pragma once

#include <cstdint>

#include "common/command_line.h"
#include "utils/log.h"
#include "vrn_check/check_run.h"

namespace vrn::check {

struct Settings {
    CheckOptions check;
    std::uint32_t log_level = VRN_LOG_WARNING;
};

// The command line that fills `settings`, which outlive it.
tool::CommandLine make_command_line(Settings *settings);

}  // namespace vrn::check
