// Texts built from templates: printf formats and {{name}} substitution.
#pragma once

#include <cstdarg>
#include <map>
#include <string>
#include <string_view>

// New heap string from a printf format; the caller frees it. Null after one error line.
char *vrn_expand_string_template(const char *format, std::va_list arguments)
    __attribute__((format(printf, 1, 0)));
[[nodiscard]] char *vrn_format_string(const char *format, ...)
    __attribute__((format(printf, 1, 2)));

// Replaces each {{name}} whose name is in `variables`; others stay, braces included, so that a
// later expansion with another table can fill them. Values are not expanded again.
std::string vrn_expand_template(std::string_view template_text,
                                const std::map<std::string, std::string> &variables);
