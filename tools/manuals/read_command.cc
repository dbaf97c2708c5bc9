#include "manuals/read_command.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "reader/options_parse.h"
#include "reader/output_format.h"

namespace vrn::manuals {
namespace {

struct Words {
    std::string_view name;
    const char *argument;  // null: none that must be there
    const char *help;
};
constexpr Words all_words[] = {
    {"verbose", "LEVEL", "Level of the log, 0 to 7"},
    {"schema-path", "DIR", "Folder of the schema files"},
    {"output-dir", "DIR", "Folder of the files that -f bin writes"},
    {"timestamp-gt", "TIME", "First time of counters, in microseconds"},
    {"timestamp-lt", "TIME", "Last time of counters, in microseconds"},
    {"include-counters", "PATTERN", "Event types to take"},
    {"exclude-counters", "PATTERN", "Event types to leave out"},
    {"format", "FORMAT", "Output format"},
    {"print-page-info", nullptr, "Print headers of files and blocks"},
    {"data-dir", "DIR", "Folder whose files are read"},
    {"sort-files", nullptr, "Read the files in the order of their headers"},
    {"cset-file", "FILE", "Counter set"},
    {"fset-file", "FILE", "Field set"},
    {"ignore-missing-filter", nullptr, "Take whole what has no set of its own"},
    {"microsecond-precision", nullptr, "Print microseconds in times"},
    {"metadata", nullptr, "Add labels from the metadata file"},
};

// Not all of the parser's letters are letters of the command line.
char letter_of(const option &row) {
    const char letter = static_cast<char>(row.val);
    return std::strchr(vrn_reader_short_options, letter) ? letter : '\0';
}

std::vector<std::string> format_words() {
    std::vector<std::string> words;
    for (std::uint32_t value = 0;
         const char *name = vrn_output_format_name(static_cast<vrn_output_format_t>(value));
         ++value)
        words.emplace_back(name);
    return words;
}

}  // namespace

tool::CommandLine make_read_command() {
    tool::CommandLine line = {"vrn_read", "data1.bin [data2.bin...]", "", {}};
    for (const option *row = vrn_reader_long_options; row->name; ++row) {
        const std::string_view name = row->name;
        // Every command line here has these two.
        if (name == "help" || name == "version") continue;
        const auto *words = std::ranges::find(all_words, name, &Words::name);
        const bool takes_value = row->has_arg == required_argument;
        if (words == std::end(all_words) || takes_value != (words->argument != nullptr))
            throw std::runtime_error("no true words for --" + std::string(name));
        line.options.push_back({row->name,
                                letter_of(*row),
                                words->argument,
                                words->help,
                                {},
                                name == "format" ? format_words() : std::vector<std::string>()});
    }
    return line;
}

}  // namespace vrn::manuals
