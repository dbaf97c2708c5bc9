// Where the rows of a query go: a form on standard output, or a file.
#pragma once

#include <string>

#include "vrn_sql/database.h"

namespace vrn::sqltool {

enum class Form { table, csv, json, markdown };

// False when `name` is none.
bool form_of_name(const std::string &name, Form *form);

// Runs one statement and prints what rows it gives. Throws EngineError, and std::runtime_error when
// standard output can't take it.
void print_query(Database *database, const std::string &statement, Form form);

// The engine's name of the format that the ending of `path` tells; empty for none it knows.
std::string format_of_path(const std::string &path);

// Writes the rows of a query to a file that takes its name when it is whole. Throws as above.
void store_query(Database *database, const std::string &statement, const std::string &path);

}  // namespace vrn::sqltool
