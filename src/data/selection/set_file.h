// Reading of the text files that hold field sets and counter sets.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vrn {

// How messages name one kind of set file.
struct SetFileKind {
    const char *class_name;
    const char *title;      // "field set"
    const char *extension;  // "fset"
};

// `text` without spaces, tabs, carriage returns and line feeds at both ends.
std::string_view trim_set_text(std::string_view text);

// Lines of the file at `filename`; `name` becomes its stem. Nothing after one line that says why.
std::optional<std::vector<std::string>> read_set_file(const SetFileKind &kind, const char *filename,
                                                      std::string *name);

// True when there are entries; false after a warning.
[[nodiscard]] bool check_set_has_patterns(bool has_patterns, const char *filename);

}  // namespace vrn
