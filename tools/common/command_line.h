// A command line as one table: its rows make the help and the parser.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
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
    const char *argument;  // what the help calls the value; null: the option takes none
    const char *help;      // words, wrapped where the help needs it
    std::function<void(const char *value)> take;  // null without an argument; may throw BadValue
};

struct CommandLine {
    const char *program;
    const char *operands;         // what the help calls them; null: none are taken
    const char *about;            // lines below the usage
    std::vector<Option> options;  // --help comes with every command line
    const char *notes = "";       // lines below the options
};

std::string help_text(const CommandLine &line);

// Hands each option of `argv` to its row, in order, and returns the operands; none when help is
// asked for. Throws UsageError.
[[nodiscard]] std::optional<std::vector<std::string>> parse_command_line(const CommandLine &line,
                                                                         int argc, char **argv);

// The number that `text` is, decimal, octal or hexadecimal. Throws BadValue outside of `min` to
// `max`.
std::uint64_t number_value(const char *text, std::uint64_t min, std::uint64_t max);

}  // namespace vrn::tool
