#include "common/command_line.h"

#include <getopt.h>

#include <algorithm>
#include <sstream>

#include "utils/parse_number.h"
#include "vrn_version.h"

namespace vrn::tool {
namespace {

// Columns that any terminal shows.
constexpr std::size_t help_width = 80;

// getopt's codes of rows start above those of letters.
constexpr int first_row_code = 256;

const Option help_row = {"help", 'h', nullptr, "Print this message.", {}};
const Option version_row = {"version", 'V', nullptr, "Print the version.", {}};

std::string left_column(const Option &row) {
    std::string text = row.letter ? std::string("  -") + row.letter + ", --" : "      --";
    text += row.name;
    if (row.argument) text += std::string(" ") + row.argument;
    return text + "  ";
}

std::string wrapped_row(const Option &row, std::size_t indent) {
    std::string text = left_column(row);
    text.resize(indent, ' ');
    std::size_t column = indent;
    std::istringstream words(row.help);
    for (std::string word; words >> word;) {
        // A word longer than a line stands alone and sticks out.
        if (column > indent && column + 1 + word.size() > help_width) {
            text += "\n" + std::string(indent, ' ');
            column = indent;
        }
        if (column > indent) word.insert(0, " ");
        text += word;
        column += word.size();
    }
    return text + "\n";
}

std::string letters_of(const std::vector<const Option *> &rows) {
    std::string letters = ":";  // a missing value is told from an unknown option
    for (const Option *row : rows) {
        if (!row->letter) continue;
        letters += row->letter;
        if (row->argument) letters += ':';
    }
    return letters;
}

std::vector<option> long_options_of(const std::vector<const Option *> &rows) {
    std::vector<option> options;
    options.reserve(rows.size() + 1);
    int code = first_row_code;
    for (const Option *row : rows)
        options.push_back(
            {row->name, row->argument ? required_argument : no_argument, nullptr, code++});
    options.push_back({});  // getopt's mark of the end
    return options;
}

// Null for a code of getopt that is none of a row.
const Option *row_of(const std::vector<const Option *> &rows, int code) {
    if (code >= first_row_code) return rows[static_cast<std::size_t>(code - first_row_code)];
    const auto found = std::ranges::find_if(rows, [&](const Option *row) {
        return row->letter && row->letter == static_cast<char>(code);
    });
    return found == rows.end() ? nullptr : *found;
}

// `code` is what getopt returned: ':' when a value is missing, otherwise '?'.
[[noreturn]] void refuse_option(const std::vector<const Option *> &rows, int code, char **argv) {
    if (const Option *row = row_of(rows, optopt))
        throw UsageError(std::string("--") + row->name +
                         (code == ':' ? " needs a value" : " takes no value"));
    if (optopt != 0) throw UsageError(std::string("unknown option -") + static_cast<char>(optopt));
    // A long one: getopt tells no letter for it.
    throw UsageError(std::string("unknown option ") + argv[optind - 1]);
}

std::string version_text(const CommandLine &line) {
    const std::string commit = vrn_build_commit;
    return std::string(line.program) + " " + vrn_version_string() +
           (commit.empty() ? "" : " (commit " + commit + ")") + "\n";
}

// "a, b or c"
std::string choice_of(const std::vector<std::string> &words) {
    std::string text = words.front();
    for (std::size_t i = 1; i < words.size(); ++i)
        text += (i + 1 < words.size() ? ", " : " or ") + words[i];
    return text;
}

void take_value(const Option &row) {
    // An empty value is mostly a variable of a script that was never set.
    if (row.argument && *optarg == '\0')
        throw UsageError(std::string("--") + row.name + " needs a value");
    try {
        if (!row.words.empty() && std::ranges::find(row.words, optarg) == row.words.end())
            throw BadValue(choice_of(row.words));
        row.take(optarg);
    } catch (const BadValue &error) {
        throw UsageError(std::string("--") + row.name + " takes " + error.what() + ", not '" +
                         optarg + "'");
    }
}

}  // namespace

std::vector<const Option *> list_rows(const CommandLine &line) {
    std::vector<const Option *> rows;
    for (const Option &row : line.options) rows.push_back(&row);
    rows.push_back(&help_row);  // last in the help, as is usual
    rows.push_back(&version_row);
    return rows;
}

std::string help_text(const CommandLine &line) {
    const std::vector<const Option *> rows = list_rows(line);
    std::size_t indent = 0;
    for (const Option *row : rows) indent = std::max(indent, left_column(*row).size());
    std::string text = std::string("Usage: ") + line.program + " [options]";
    if (line.operands) text += std::string(" ") + line.operands;
    text += std::string("\n") + line.about;
    for (const Option *row : rows) text += wrapped_row(*row, indent);
    return text + line.notes;
}

ParsedLine parse_command_line(const CommandLine &line, int argc, char **argv) {
    const std::vector<const Option *> rows = list_rows(line);
    const std::string letters = letters_of(rows);
    const std::vector<option> long_options = long_options_of(rows);
    // Messages are ours, so that all tools word them alike.
    opterr = 0;
    optind = 0;  // glibc starts anew, whatever was parsed before
    int code = 0;
    while ((code = getopt_long(argc, argv, letters.c_str(), long_options.data(), nullptr)) != -1) {
        if (code == '?' || code == ':') refuse_option(rows, code, argv);
        const Option *row = row_of(rows, code);
        // At once: what follows may be wrong without harm.
        if (row == &help_row) return {help_text(line), {}};
        if (row == &version_row) return {version_text(line), {}};
        take_value(*row);
    }
    std::vector<std::string> operands(argv + optind, argv + argc);
    if (!line.operands && !operands.empty())
        throw UsageError("'" + operands.front() + "' is one argument too many");
    if (std::ranges::find(operands, "") != operands.end()) throw UsageError("an argument is empty");
    return {"", operands};
}

std::uint64_t number_value(const char *text, std::uint64_t min, std::uint64_t max) {
    std::uint64_t number = 0;
    // The parser takes signs and blanks before a number, and wraps negative ones.
    const bool has_digit_first = *text >= '0' && *text <= '9';
    if (has_digit_first && vrn_parse_u64(text, &number) && number >= min && number <= max)
        return number;
    throw BadValue("a number from " + std::to_string(min) + " to " + std::to_string(max));
}

}  // namespace vrn::tool
