// A command line as one table: its rows make the help and the parser.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vrn::tool {

// What is wrong with a command line, in one line.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A value that an option does not take: what() tells what it takes ("a positive number").
class BadValue : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Option {
    const char *name;      // long name without the dashes
    char letter;           // 0: none
    const char *argument;  // the value in the help; FILE and DIR are paths; null: none is taken
    const char *help;      // words, wrapped where the help needs it
    // Gets null without an argument, and never an empty value; may throw BadValue.
    std::function<void(const char *value)> take;
    std::vector<std::string> words{};  // the only values that it takes; none: any
};

struct CommandLine {
    const char *program;
    const char *operands;         // what the help calls them; null: none are taken
    const char *about;            // lines below the usage
    std::vector<Option> options;  // --help and --version come with every command line
    const char *notes = "";       // lines below the options
};

// The rows of `line`, which they point into, and those of every command line.
std::vector<const Option *> list_rows(const CommandLine &line);

std::string help_text(const CommandLine &line);

struct ParsedLine {
    std::string answer;  // help or version, when one is asked for: then it is all there is to do
    std::vector<std::string> operands;  // none of them is empty
};

// Hands each option of `argv` to its row, in order. Throws UsageError.
[[nodiscard]] ParsedLine parse_command_line(const CommandLine &line, int argc, char **argv);

// The number that `text` is, decimal, octal or hexadecimal. Throws BadValue outside of `min` to
// `max`.
std::uint64_t number_value(const char *text, std::uint64_t min, std::uint64_t max);

}  // namespace vrn::tool
