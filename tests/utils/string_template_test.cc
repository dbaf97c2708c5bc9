#include "utils/string_template.h"

#include "support/test.h"

namespace vrn::test {
namespace {

TEST(StringTemplate, KnownNamesGoInAndOthersStay) {
    const std::map<std::string, std::string> variables = {
        {"a", "1"}, {"b", "{{a}}"}, {"", "none"}, {" a ", "blanks"}, {"x{{a", "nested"}};
    // clang-format off
    const std::pair<const char *, const char *> cases[] = {
        {"", ""}, {"plain } {", "plain } {"}, {"{{a}}-{{a}}", "1-1"}, {"{{b}}", "{{a}}"},
        {"<{{c}}>{{a}}", "<{{c}}>1"}, {"{{}}{{ a }}", "noneblanks"}, {"{{a}} {{a} }", "1 {{a} }"},
        {"{{x{{a}}}}", "nested}}"}, {"{{{a}}}", "{{{a}}}"},
    };
    // clang-format on
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(vrn_expand_template(text, variables), expected) << text;
}

TEST(StringTemplate, FormatsIntoANewString) {
    const std::string text(5000, 'x');
    const CString formatted(vrn_format_string("%d %s|", 7, text.c_str()));
    EXPECT_EQ(formatted.get(), "7 " + text + "|");
}

}  // namespace
}  // namespace vrn::test
