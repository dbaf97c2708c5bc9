#include "manuals/completion.h"

#include <string_view>

namespace vrn::manuals {
namespace {

using tool::CommandLine;
using tool::Option;

std::string long_name(const Option &row) {
    return std::string("--") + row.name;
}

std::string short_name(const Option &row) {
    return row.letter ? std::string("-") + row.letter : "";
}

std::string joined(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

bool takes(const Option &row, std::string_view argument) {
    return row.argument && row.argument == argument;
}

std::string all_names(const CommandLine &line) {
    std::vector<std::string> names;
    for (const Option *row : tool::list_rows(line)) {
        if (row->letter) names.push_back(short_name(*row));
        names.push_back(long_name(*row));
    }
    return joined(names);
}

// What bash does for the value of an option, when the word before is the option.
std::string bash_value(const Option &row) {
    if (takes(row, "FILE")) return "compopt -o default";
    if (takes(row, "DIR")) return "compopt -o dirnames";
    if (row.words.empty()) return ":";
    return "mapfile -t COMPREPLY < <(compgen -W '" + joined(row.words) + "' -- \"$word\")";
}

std::string bash_cases(const CommandLine &line) {
    std::string text;
    for (const Option *row : tool::list_rows(line)) {
        if (!row->argument) continue;
        text += "    " + (row->letter ? short_name(*row) + " | " : "") + long_name(*row) + ")\n";
        text += "        " + bash_value(*row) + "\n        return\n        ;;\n";
    }
    return text;
}

// Within single quotes, and for zsh within the brackets of an option.
std::string zsh_words(std::string_view text) {
    std::string words;
    for (const char letter : text) {
        if (letter == '\'')
            words += "'\\'";
        else if (letter == '[' || letter == ']' || letter == '\\')
            words += '\\';
        words += letter;
    }
    return words;
}

std::string_view first_sentence(std::string_view help) {
    const std::string_view sentence = help.substr(0, help.find(". "));
    return sentence.ends_with('.') ? sentence.substr(0, sentence.size() - 1) : sentence;
}

std::string zsh_value(const Option &row) {
    if (!row.argument) return "";
    const std::string value = std::string(":") + row.argument + ":";
    if (takes(row, "FILE")) return value + "_files";
    if (takes(row, "DIR")) return value + "_files -/";
    return value + (row.words.empty() ? " " : "(" + joined(row.words) + ")");
}

// Those with a value may be given again.
std::string zsh_option(const Option &row) {
    const std::string end = row.argument ? "=" : "";
    const std::string tail =
        "'[" + zsh_words(first_sentence(row.help)) + "]" + zsh_value(row) + "'";
    if (!row.letter) return (row.argument ? "'*'" : "") + long_name(row) + end + tail;
    const std::string names =
        "{" + short_name(row) + (row.argument ? "+" : "") + "," + long_name(row) + end + "}";
    const std::string before =
        row.argument ? "*" : "(" + short_name(row) + " " + long_name(row) + ")";
    return "'" + before + "'" + names + tail;
}

}  // namespace

std::string bash_completion(const CommandLine &line) {
    const std::string program = line.program;
    return "# bash completion of " + program + ", made from its options\n_" + program +
           "() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "    COMPREPLY=()\n"
           "    # \"--option=value\" comes as three words.\n"
           "    if [[ $word == = ]]; then\n"
           "        word=\n"
           "    elif [[ $before == = ]]; then\n"
           "        before=${COMP_WORDS[COMP_CWORD - 2]}\n"
           "    fi\n"
           "    case $before in\n" +
           bash_cases(line) +
           "    esac\n"
           "    if [[ $word == -* ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W '" +
           all_names(line) + "' -- \"$word\")\n" +
           (line.operands ? "    else\n        compopt -o default\n" : "") +
           "    fi\n"
           "}\n"
           "complete -F _" +
           program + " " + program + "\n";
}

std::string zsh_completion(const CommandLine &line) {
    std::string text = std::string("#compdef ") + line.program + "\n# made from the options of " +
                       line.program + "\n_arguments -s -S";
    for (const Option *row : tool::list_rows(line)) text += " \\\n    " + zsh_option(*row);
    if (line.operands) text += " \\\n    '*:file or folder:_files'";
    return text + "\n";
}

}  // namespace vrn::manuals
