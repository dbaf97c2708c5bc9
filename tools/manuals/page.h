// Manual pages: what is written by hand with what is made, in its place.
#pragma once

#include <functional>
#include <string>

#include "common/command_line.h"

namespace vrn::manuals {

// The page that the text `source` is written for: @VERSION@ becomes the version, and a line
// "@NAME WORDS@" what `make` gives for NAME and WORDS.
std::string make_page(
    const std::string &source,
    const std::function<std::string(const std::string &name, const std::string &words)> &make);

// The options of `line`, as a list of them in troff.
std::string options_section(const tool::CommandLine &line);

// Both throw std::runtime_error.
std::string read_text(const std::string &path);
void write_text(const std::string &path, const std::string &text);

}  // namespace vrn::manuals
