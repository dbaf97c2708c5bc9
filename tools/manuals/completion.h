// Completion of command lines by shells.
#pragma once

#include <string>

#include "common/command_line.h"

namespace vrn::manuals {

// The scripts by which bash and zsh complete the options of `line` and their values: files, folders
// and words.
std::string bash_completion(const tool::CommandLine &line);
std::string zsh_completion(const tool::CommandLine &line);

}  // namespace vrn::manuals
