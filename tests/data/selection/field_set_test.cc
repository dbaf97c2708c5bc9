#include "data/selection/field_set.h"

#include "data/selection/provider_field_set.h"
#include "support/string_lists.h"
#include "support/test.h"

namespace vrn::test {
namespace {

// The entries of a set as its print shows them.
Lines printed(const ProviderFieldSet &set) {
    CapturedLog log(6);
    set.printConfiguration();
    Lines lines = log.take();
    lines.erase(lines.begin(), lines.begin() + 2);
    for (std::string &line : lines)
        line = line.substr(std::string("6 [printConfiguration]").size());
    return lines;
}

TEST(FieldSet, SectionsListFieldsOfTheirTypes) {
    // clang-format off
    const struct { const char *name; Lines lines, expected; } cases[] = {
        {"two types share a section", {"[a]", "[a, b]", "x"},
         {"  Type pattern: [a]", "    x", "  Type pattern: [b]", "    x"}},
        {"a repeated section adds", {"[a]", "x", "[b]", "[a]", "y"},
         {"  Type pattern: [a]", "    x", "    y", "  Type pattern: [b]"}},
        {"a type twice in one head takes each line twice", {"[a,a]", "x", "y"},
         {"  Type pattern: [a]", "    x", "    x", "    y", "    y"}},
        {"blanks and comments are dropped", {" [ a\t,, ] \r", "", " # [c]", "\t^x$ "},
         {"  Type pattern: [a]", "    ^x$"}},
        {"half a head is a field", {"[a]", "[b", "c]"},
         {"  Type pattern: [a]", "    [b", "    c]"}},
        {"lines without a section are ignored", {"x", "[a]", "[]", "y"}, {"  Type pattern: [a]"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ProviderFieldSet set;
        EXPECT_TRUE(set.loadFromLines(c.lines));
        EXPECT_EQ(printed(set), c.expected);
    }
}

TEST(FieldSet, FieldsAreAskedOfTheTypesSectionsOrOfDefault) {
    const Lines lines = {"[port_*]", "err",   "^speed$", "[port_x]",  "lid",
                         "[link]",   "[any]", "^",       "[default]", "guid$"};
    // clang-format off
    const struct { const char *type, *field; bool of_interest, included; } cases[] = {
        {"port_1", "PortErrCount", true, true}, {"port_1", "speeds", true, false},
        {"port_1", "guid", true, false},  // [default] is not asked
        {"port_1", "lid", true, false}, {"port_x", "lid", true, true}, {"port_", "err", true, true},
        {"link", "whatever", true, true}, {"link2", "whatever", false, false},
        // dropped as a type before its fields are asked
        {"any", "", true, true}, {"other", "node_GUID", false, true},
        {"default", "guid", true, true}, {"", "err", false, false},
    };
    // clang-format on
    ProviderFieldSet set;
    ASSERT_TRUE(set.loadFromLines(lines));
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.type) + " " + c.field);
        EXPECT_EQ(set.is_type_of_interest(c.type), c.of_interest);
        EXPECT_EQ(set.should_include_field(c.type, c.field), c.included);
    }
}

TEST(FieldSet, EmptyTypeNameSkipsTheSections) {
    ProviderFieldSet set;
    ASSERT_TRUE(set.loadFromLines(Lines{"[*]", "[default]", "x"}));
    EXPECT_TRUE(set.is_type_of_interest(""));
    EXPECT_TRUE(set.should_include_field("any", "y"));
    EXPECT_FALSE(set.should_include_field("", "y"));
    for (const char *head : {"[default]", "[a]"}) {
        ASSERT_TRUE(set.loadFromLines(Lines{head}));
        EXPECT_EQ(set.should_include_field("any", "y"), head == std::string("[default]"));
    }
}

TEST(FieldSet, CutsLongPatternsAndTakesAnyBytes) {
    const std::string long_name(127, 'f');
    ProviderFieldSet set;
    const std::string any_bytes(1 << 20, '\xFF');
    ASSERT_TRUE(set.loadFromLines(Lines{"[a]", long_name + "ggg", any_bytes}));
    EXPECT_TRUE(set.should_include_field("a", long_name.c_str()));
    EXPECT_FALSE(set.should_include_field("a", "other"));
    // An embedded NUL ends the pattern, which is then empty and fits all.
    ASSERT_TRUE(set.loadFromLines(Lines{"[a]", std::string("\0x", 2)}));
    EXPECT_TRUE(set.should_include_field("a", "other"));
}

TEST(FieldSet, ManyTypesShareManyFields) {
    std::string head = "[";
    for (int i = 0; i < 50000; ++i) head += std::to_string(i) + ",";
    Lines lines = {head + "]"};
    lines.resize(50000, "x");
    ProviderFieldSet set;
    ASSERT_TRUE(set.loadFromLines(lines));
    EXPECT_TRUE(set.should_include_field("49999", "x"));
}

TEST(FieldSet, LoadsAFile) {
    const TempDir dir;
    const std::string path = dir.write("my.port.fset", "# all\n[a]\r\nx");
    CapturedLog log(7);
    const vrn_provider_field_set_ptr set(vrn_provider_field_set_create());
    EXPECT_FALSE(vrn_provider_field_set_is_initialized(set.get()));
    EXPECT_TRUE(vrn_provider_field_set_init_from_file(set.get(), path.c_str()));
    EXPECT_TRUE(vrn_provider_field_set_is_initialized(set.get()));
    EXPECT_STREQ(CString(vrn_provider_field_set_get_name(set.get())).get(), "my.port");
    vrn_provider_field_set_print_configuration(set.get());
    const std::string file = "7 [loadFromFile] ", printed = "6 [printConfiguration] ";
    EXPECT_EQ(log.take(),
              (Lines{file + "loading fset file " + path, file + "# all", file + "[a]\r", file + "x",
                     file + "-----------------------",
                     printed + "'my.port' configuration:", printed + " Initialized: yes",
                     printed + " Type pattern: [a]", printed + "   x"}));
}

TEST(FieldSet, RefusesFilesWithoutPatterns) {
    const TempDir dir;
    const std::string file = "[loadFromFile] ";
    const std::string comments = dir.write("comments.fset", "# [a]\n\n# x\n");
    const std::string fields = dir.write("fields.fset", "x\ny\n");
    const std::string none = dir.file("none");
    const std::pair<std::string, std::string> cases[] = {
        {"", "3 " + file + "empty filename"},
        {none, "3 " + file + "file " + none + " does not exist"},
        {comments, "4 " + file + "no patterns found in " + comments},
        {fields, "4 " + file + "no patterns found in " + fields},
        {dir.path(), "4 " + file + "no patterns found in " + dir.path()},
    };
    CapturedLog log;
    for (const auto &[path, line] : cases) {
        ProviderFieldSet set;
        EXPECT_FALSE(set.loadFromFile(path.c_str()));
        EXPECT_FALSE(set.is_initialized());
        EXPECT_EQ(log.take(), Lines{line});
    }
    EXPECT_FALSE(ProviderFieldSet().loadFromFile(nullptr));
    EXPECT_EQ(log.take(), Lines{"3 ProviderFieldSet: missing filename parameter"});
}

TEST(FieldSet, FlatEntriesNameTheArgumentThatIsMissing) {
    const vrn_provider_field_set_ptr owner(vrn_provider_field_set_create());
    vrn_provider_field_set_t hollow{nullptr};
    vrn_provider_field_set_t *set = owner.get();
    const char *const lines[] = {"[a]", nullptr};
    CapturedLog log;
    EXPECT_FALSE(vrn_provider_field_set_init_from_file(set, nullptr));
    EXPECT_FALSE(vrn_provider_field_set_init_from_lines(set, lines, 0));
    EXPECT_FALSE(vrn_provider_field_set_init_from_lines(set, nullptr, 1));
    EXPECT_FALSE(vrn_provider_field_set_init_from_lines(set, lines, 2));
    EXPECT_FALSE(vrn_provider_field_set_should_include_field(set, nullptr, nullptr));
    EXPECT_FALSE(vrn_provider_field_set_should_include_field(set, "a", nullptr));
    EXPECT_TRUE(vrn_provider_field_set_is_type_of_interest(nullptr, "a"));
    EXPECT_TRUE(vrn_provider_field_set_is_type_of_interest(&hollow, "a"));
    EXPECT_TRUE(vrn_provider_field_set_is_type_of_interest(set, nullptr));
    EXPECT_FALSE(vrn_provider_field_set_is_type_of_interest(set, "a"));
    EXPECT_EQ(vrn_provider_field_set_get_name(&hollow), nullptr);
    EXPECT_TRUE(vrn_provider_field_set_init_from_lines(set, lines, 1));
    EXPECT_TRUE(vrn_provider_field_set_is_type_of_interest(set, "a"));
    const std::string p = "3 [vrn_provider_field_set_";
    EXPECT_EQ(log.take(),
              (Lines{p + "init_from_file] missing fset_filename parameter",
                     p + "init_from_lines] num_lines is 0",
                     p + "init_from_lines] missing lines parameter",
                     p + "init_from_lines] Failed to initialize ProviderFieldSet from lines",
                     p + "should_include_field] missing type_name parameter",
                     p + "should_include_field] missing field_name parameter",
                     p + "is_type_of_interest] missing field_set parameter",
                     p + "is_type_of_interest] field_set is empty",
                     p + "is_type_of_interest] missing type_name parameter",
                     p + "get_name] field_set is empty"}));
}

}  // namespace
}  // namespace vrn::test
