// SQL text in statements.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vrn::sqltool {

// The statements of `text` without their semicolons; those of blanks and comments alone are left
// out. `rest` gets what follows the last semicolon.
std::vector<std::string> split_statements(std::string_view text, std::string *rest);

// The texts and names in quotes of SQL text, in order. A doubled quote within one ends it and
// begins the next.
std::vector<std::string> texts_in_quotes(std::string_view text);

// `text` as a literal.
std::string quoted_text(std::string_view text);
// `name` as a name, whatever it holds.
std::string quoted_name(std::string_view name);

}  // namespace vrn::sqltool
