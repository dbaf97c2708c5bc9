// DuckDB's library, found and opened when the tool runs.
#pragma once

#include <duckdb_extension.h>

#include <string>

// The functions of the library that the tool uses, as the engine's headers name them.
DUCKDB_EXTENSION_EXTERN

namespace vrn::sqltool {

// Opens the library that VRN_DUCKDB_LIBRARY names or, when that is unset, libduckdb.so of this
// program or of the system. Throws std::runtime_error that tells where to get it.
void open_engine_library();

// The path of a file that comes with this program: beside it as it is built, in a folder of its own
// as it is installed.
std::string program_file(const std::string &name);

}  // namespace vrn::sqltool
