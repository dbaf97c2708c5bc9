// DuckDB's library, found and opened when the tool runs.
#pragma once

#include <duckdb_extension.h>

#include <string>

// The functions of the library that the tool uses, as the engine's headers name them.
DUCKDB_EXTENSION_EXTERN

namespace vrn::sqltool {

// Opens the library that VRN_DUCKDB_LIBRARY names or, when that is unset, libduckdb.so beside this
// program or where the system has it. Throws std::runtime_error that tells where to get it.
void open_engine_library();

// `name` in the folder of this program, or in `folder` from there.
std::string beside_program(const std::string &name);

}  // namespace vrn::sqltool
