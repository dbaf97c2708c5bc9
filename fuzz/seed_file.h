// The inputs that fuzzing starts from, as a reviewer reads them.
#pragma once

#include <filesystem>
#include <string>

namespace vrn::fuzz {

// Content of a seed: what its lines type when its name ends with ".bytes", otherwise its text.
// Throws std::runtime_error.
std::string read_seed(const std::filesystem::path &path);

}  // namespace vrn::fuzz
