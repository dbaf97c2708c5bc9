#include "common/command_line.h"

#include "common/shown_text.h"
#include "support/test.h"

namespace vrn::tool {
namespace {

using test::Lines;

// What the rows were told, the operands, or what was wrong.
Lines parse(const char *operands, Lines arguments) {
    Lines seen;
    const CommandLine line = {
        "tool",
        operands,
        "",
        {{"size", 's', "BYTES", "",
          [&](const char *value) {
              seen.push_back("size " + std::to_string(number_value(value, 1, 1000)));
          }},
         {"sort",
          0,
          "KEY",
          "",
          [&](const char *value) { seen.push_back("sort " + std::string(value)); },
          {"-a", "name", "time"}},
         {"all", 'a', nullptr, "", [&](const char *) { seen.push_back("all"); }}}};
    arguments.insert(arguments.begin(), "tool");
    std::vector<char *> argv;
    for (std::string &argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    try {
        const ParsedLine parsed =
            parse_command_line(line, static_cast<int>(arguments.size()), argv.data());
        if (!parsed.answer.empty()) return {parsed.answer.substr(0, parsed.answer.find(' '))};
        for (const std::string &operand : parsed.operands) seen.push_back("operand " + operand);
    } catch (const UsageError &error) {
        return {error.what()};
    }
    return seen;
}

TEST(CommandLine, RowsTakeTheirValuesInOrder) {
    const std::pair<Lines, Lines> cases[] = {
        {{}, {}},
        {{"-s", "1", "-as1000", "--sort=name", "--sort", "-a", "--si", "0x10"},
         {"size 1", "all", "size 1000", "sort name", "sort -a", "size 16"}},
        {{"b", "-a", "--", "-s"}, {"all", "operand b", "operand -s"}},
        {{"-a", "-h", "--unknown"}, {"Usage:"}},
        {{"--help"}, {"Usage:"}},
        {{"--version", ""}, {"tool"}},
    };
    for (const auto &[arguments, seen] : cases) EXPECT_EQ(parse("[file]", arguments), seen);
}

TEST(CommandLine, RefusesWhatNoRowTakes) {
    const std::pair<Lines, std::string> cases[] = {
        {{"-x"}, "unknown option -x"},
        {{"--nosuch=1"}, "unknown option --nosuch=1"},
        {{"--s", "1"}, "unknown option --s"},  // short for two rows
        {{"-s"}, "--size needs a value"},
        {{"--sort"}, "--sort needs a value"},
        {{"--sort="}, "--sort needs a value"},
        {{"--sort", "tim"}, "--sort takes -a, name or time, not 'tim'"},
        {{"--all=1"}, "--all takes no value"},
        {{"--help=1"}, "--help takes no value"},
        {{"extra"}, "'extra' is one argument too many"},
    };
    for (const auto &[arguments, error] : cases) EXPECT_EQ(parse(nullptr, arguments), Lines{error});
    EXPECT_EQ(parse("file ...", {"a", ""}), Lines{"an argument is empty"});
    for (const std::string number :
         {"0", "1001", "-1", "+1", " 1", "1 ", "1k", "x", "18446744073709551617"})
        EXPECT_EQ(parse(nullptr, {"-s", number}),
                  Lines{"--size takes a number from 1 to 1000, not '" + number + "'"});
}

TEST(CommandLine, HelpIsMadeOfTheRows) {
    const std::string words =
        "A row whose words need more than one line of the help, which is as "
        "wide as a terminal mostly is.";
    const CommandLine line = {
        "tool",
        "file ...",
        "Does things.\n",
        {{"size", 's', "BYTES", words.c_str(), {}}, {"all", 0, nullptr, "All.", {}}},
        "Notes.\n"};
    EXPECT_EQ(help_text(line),
              "Usage: tool [options] file ...\n"
              "Does things.\n"
              "  -s, --size BYTES  A row whose words need more than one line of the help, which\n"
              "                    is as wide as a terminal mostly is.\n"
              "      --all         All.\n"
              "  -h, --help        Print this message.\n"
              "  -V, --version     Print the version.\n"
              "Notes.\n");
}

TEST(ShownText, EscapesWhatATerminalWouldObey) {
    const std::pair<std::string, std::string> cases[] = {
        {"plain ~", "plain ~"},
        {"a\x1b[2J\n\t\x7f", "a\\x1b[2J\\x0a\\x09\\x7f"},
        {std::string("\0", 1), "\\x00"},
        {"\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80", "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80"},
        {"\xc2\x9b"
         "2J\xc2\xa0",
         "\\xc2\\x9b2J\xc2\xa0"},  // a control character of two bytes
        {"\x9b\xc3(\xe2\x82", "\\x9b\\xc3(\\xe2\\x82"},
        {"\xc0\xaf\xf5\x80\x80\x80", "\\xc0\\xaf\\xf5\\x80\\x80\\x80"},
        {"\xe0\x80\x9b", "\\xe0\\x80\\x9b"},  // longer than it need be
    };
    for (const auto &[text, shown] : cases) EXPECT_EQ(shown_text(text), shown);
}

}  // namespace
}  // namespace vrn::tool
