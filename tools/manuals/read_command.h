// The command line of vrn_read, for its completions: it has a parser and a help of its own.
#pragma once

#include "common/command_line.h"

namespace vrn::manuals {

// Throws std::runtime_error when the parser takes an option that has no words here.
tool::CommandLine make_read_command();

}  // namespace vrn::manuals
