// Random data files, schemas and command lines of vrn_read.
#pragma once

#include <cstdint>
#include <string>

namespace vrn::test {

// Writes the input files of run `seed` to `folder` and returns the arguments that go with them, for
// a shell in that folder. The same seed makes the same run.
std::string make_random_run(std::uint64_t seed, const std::string &folder);

}  // namespace vrn::test
