// What the rows of a query can be printed or stored as.
#pragma once

#include <string>
#include <vector>

namespace vrn::sqltool {

enum class Form { table, csv, json, markdown };

std::vector<std::string> form_names();
// False when `name` is none.
bool form_of_name(const std::string &name, Form *form);

// The engine's name of the format that the ending of `path` tells; empty for none it knows.
std::string format_of_path(const std::string &path);

}  // namespace vrn::sqltool
