// Manual pages: what is written by hand with what is made, in its place.
#pragma once

#include <functional>
#include <string>

#include "common/command_line.h"

namespace vrn::manuals {

// What stands for a line "@NAME WORDS@" of a page's source.
using MakePart = std::function<std::string(const std::string &name, const std::string &words)>;

// Writes OUTPUT/man/NAME of SOURCES/NAME.in, in which @VERSION@ becomes the version. Throws
// std::runtime_error.
void write_page(const std::string &sources, const std::string &output, const std::string &name,
                const MakePart &make);

// The options of `line`, as a list of them in troff.
std::string options_section(const tool::CommandLine &line);

// Both throw std::runtime_error.
std::string read_text(const std::string &path);
void write_text(const std::string &path, const std::string &text);

}  // namespace vrn::manuals
