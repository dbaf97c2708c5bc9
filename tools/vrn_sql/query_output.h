// Where the rows of a query go: a form on standard output, or a file.
#pragma once

#include <string>

#include "vrn_sql/database.h"
#include "vrn_sql/output_form.h"

namespace vrn::sqltool {

// Runs one statement and prints what rows it gives. Throws EngineError, and std::runtime_error when
// standard output can't take it.
void print_query(Database *database, const std::string &statement, Form form);

// Writes the rows of a query to a file that takes its name when it is whole. Throws as above.
void store_query(Database *database, const std::string &statement, const std::string &path);

}  // namespace vrn::sqltool
