#include "metrics/chart/page_text.h"

#include "support/test.h"

namespace vrn::test {
namespace {

TEST(PageText, IsHarmlessInScriptsAndMarkup) {
    const struct {
        std::string text, script, markup;
    } cases[] = {
        {"", "", ""},
        {"cpu 0 /a?b=c;${d} ☃🚀", "cpu 0 /a?b=c;${d} ☃🚀", "cpu 0 /a?b=c;${d} ☃🚀"},
        {"it's \"a\" `b` \\", R"(it\u0027s \u0022a\u0022 \u0060b\u0060 \u005c)",
         "it's \"a\" `b` \\"},
        {"</script><!-- & -->", R"(\u003c/script>\u003c!-- & -->)",
         "&lt;/script&gt;&lt;!-- &amp; --&gt;"},
        {"a\tb\r\nc", R"(a\u0009b\u000d\u000ac)", "a\tb&#13;\nc"},
        {std::string("\0\x1b[0m\x7f", 6), R"(\u0000\u001b[0m\u007f)", "\ufffd&#27;[0m&#127;"},
        {"\xc2\x9b|\u2028|\u2029|\u202a",
         R"(\u009b|\u2028|\u2029|)"
         "\u202a",
         "\xc2\x9b|\u2028|\u2029|\u202a"},
        // Alone, cut short, overlong, a surrogate, beyond the last character.
        {"\xff|\xe2\x98|\xc0\xbc|\xed\xa0\x80|\xf4\x90\x80\x80",
         R"(\udcff|\udce2\udc98|\udcc0\udcbc|\udced\udca0\udc80|\udcf4\udc90\udc80\udc80)",
         "\ufffd|\ufffd\ufffd|\ufffd\ufffd|\ufffd\ufffd\ufffd|\ufffd\ufffd\ufffd\ufffd"},
    };
    for (const auto &[text, script, markup] : cases) {
        EXPECT_EQ(metrics::script_text(text), script);
        EXPECT_EQ(metrics::script_text_value(script), text);
        EXPECT_EQ(metrics::markup_text(text), markup);
    }
}

}  // namespace
}  // namespace vrn::test
