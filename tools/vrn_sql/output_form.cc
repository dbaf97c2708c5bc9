#include "vrn_sql/output_form.h"

#include <algorithm>
#include <array>

namespace vrn::sqltool {
namespace {

struct NamedForm {
    const char *name;
    Form form;
};
constexpr std::array forms{NamedForm{"table", Form::table}, NamedForm{"csv", Form::csv},
                           NamedForm{"json", Form::json}, NamedForm{"markdown", Form::markdown}};

struct FileFormat {
    const char *ending;
    const char *options;
};
constexpr std::array file_formats{
    FileFormat{".parquet", "FORMAT parquet, COMPRESSION zstd"},
    FileFormat{".csv", "FORMAT csv, HEADER"},
    FileFormat{".json", "FORMAT json, ARRAY false"},
    FileFormat{".ndjson", "FORMAT json, ARRAY false"},
    FileFormat{".jsonl", "FORMAT json, ARRAY false"},
};

}  // namespace

std::vector<std::string> form_names() {
    std::vector<std::string> names(forms.size());
    std::ranges::transform(forms, names.begin(), &NamedForm::name);
    return names;
}

bool form_of_name(const std::string &name, Form *form) {
    for (const NamedForm &row : forms)
        if (name == row.name) {
            *form = row.form;
            return true;
        }
    return false;
}

std::string format_of_path(const std::string &path) {
    for (const FileFormat &format : file_formats)
        if (path.ends_with(format.ending)) return format.options;
    return "";
}

}  // namespace vrn::sqltool
