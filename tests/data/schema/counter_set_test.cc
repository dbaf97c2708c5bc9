#include "data/schema/counter_set.h"

#include "data/schema/provider_counter_set.h"
#include "support/string_lists.h"
#include "support/test.h"

namespace vrn::test {
namespace {

TEST(CounterSet, PatternsAreExactOrAnchored) {
    // clang-format off
    const struct { const char *pattern, *counter; bool expected; } cases[] = {
        {"err", "err", true}, {"err", "port_err", false}, {"err", "ERR", false},
        {"^port", "port_err", true}, {"^port", "xport", false}, {"err$", "port_err", true},
        {"^err$", "err", true}, {"^err$", "err2", false}, {"^", "a", true}, {"^$", "a", false},
        {"p*", "port", false}, {"^^a", "^ab", true}, {"^", "", false},
    };
    // clang-format on
    for (const auto &c : cases) {
        ProviderCounterSet set;
        EXPECT_TRUE(set.loadFromLines(Lines{c.pattern}));
        EXPECT_EQ(set.should_include_counter(c.counter), c.expected) << c.pattern << c.counter;
    }
    EXPECT_FALSE(ProviderCounterSet().should_include_counter("a"));
}

TEST(CounterSet, LinesSplitAtTheFirstEqualsSign) {
    const struct {
        const char *line;
        const char *pattern;  // null: the line is skipped
        const char *alias;
        const char *warning;
    } cases[] = {
        {"total = ^port_rcv", "^port_rcv", "total", nullptr},
        {"a=b=c", "b=c", "a", nullptr},
        {"=x", "x", "", nullptr},
        {" x\t\r", "x", "", nullptr},
        {"a==", "=", "a", nullptr},
        {" = ", nullptr, nullptr, "="},
        {"# a=b", nullptr, nullptr, nullptr},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.line);
        CapturedLog log;
        ProviderCounterSet set;
        EXPECT_EQ(set.loadFromLines(Lines{c.line}), c.pattern != nullptr);
        Lines expected;
        if (c.warning)
            expected.push_back(std::string("4 [loadFromLines] Invalid line: ") + c.warning +
                               " — missing field name or pattern after '='");
        EXPECT_EQ(log.take(), expected);
        set.printConfiguration();
        expected = {
            "6 [printConfiguration] '' configuration:",
            std::string("6 [printConfiguration] Initialized: ") + (c.pattern ? "yes" : "no")};
        if (c.pattern)
            expected.push_back(std::string("6 [printConfiguration] Counter pattern: [") +
                               c.pattern + "], alias: [" + c.alias + "]");
        EXPECT_EQ(log.take(), expected);
    }
}

TEST(CounterSet, SmallestPatternGivesTheAlias) {
    ProviderCounterSet set;
    ASSERT_TRUE(set.loadFromLines(Lines{"exact=abc", "old=^a", "prefix=^a", "plain"}));
    const struct {
        const char *counter;
        const char *alias;
        const char *log;
    } cases[] = {
        {"abc", "prefix",
         "7 [getCounterAlias] Counter 'abc' matches pattern '^a', return alias 'prefix'"},
        {"plain", "",
         "7 [getCounterAlias] Counter 'plain' matches pattern 'plain', return alias ''"},
        {"b", "", "7 [getCounterAlias] Counter 'b' not found in any pattern, return empty string"},
        {"", "", "7 [getCounterAlias] Empty counter name, return empty string"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.counter);
        CapturedLog log(7);
        EXPECT_EQ(set.getCounterAlias(c.counter), c.alias);
        EXPECT_EQ(log.take(), Lines{c.log});
    }
    CapturedLog log(7);
    EXPECT_EQ(ProviderCounterSet().getCounterAlias("a"), "");
    EXPECT_EQ(log.take(), Lines{"7 [getCounterAlias] No counter patterns defined in "
                                "counter_pattern_to_alias_, return empty string"});
}

TEST(CounterSet, KeepsTheTagsAskedFor) {
    const Lines lines = {
        "#unit= old", "# unit = no", "#unit= bytes ", "#units=many", "#uni t=x", "# scope=a=b",
        "x"};
    const Lines tags = {"unit", "scope", "uni"};
    ProviderCounterSet set;
    EXPECT_TRUE(set.loadFromLines(lines, tags));
    const std::unordered_map<std::string, std::string> expected = {{"unit", "bytes"},
                                                                   {"scope", "a=b"}};
    EXPECT_EQ(set.user_tags(), expected);
    EXPECT_TRUE(set.loadFromLines(lines));
    EXPECT_TRUE(set.user_tags().empty());
}

TEST(CounterSet, LoadsAFileThroughTheFlatEntries) {
    const TempDir dir;
    const std::string path = dir.write("net.cset", "#c\n\na=^x\n");
    CapturedLog log(7);
    const vrn_provider_counter_set_ptr set(vrn_provider_counter_set_create());
    EXPECT_TRUE(vrn_provider_counter_set_init_from_file(set.get(), path.c_str()));
    EXPECT_EQ(log.take(),
              (Lines{"7 [loadFromFile] loading cset file " + path, "7 [loadFromFile] #c",
                     "7 [loadFromFile] ", "7 [loadFromFile] a=^x",
                     "7 [loadFromFile] -----------------------",
                     "7 [loadFromLines] Loading cset file from lines...",
                     "7 [loadFromLines] Trimmed line: 'a=^x'",
                     "7 [loadFromLines] Parsed: counter_pattern='^x', alias='a'",
                     "7 [loadFromLines] Add mapping: counter_pattern=^x -> alias=a "
                     "(counter_pattern_to_alias_)"}));
    EXPECT_TRUE(vrn_provider_counter_set_should_include_counter(set.get(), "xy"));
    EXPECT_FALSE(vrn_provider_counter_set_should_include_counter(set.get(), "y"));
    EXPECT_STREQ(CString(vrn_provider_counter_set_get_counter_alias(set.get(), "xy")).get(), "a");
    EXPECT_STREQ(CString(vrn_provider_counter_set_get_name(set.get())).get(), "net");
    // A failed load of another file leaves the entries alone.
    EXPECT_FALSE(vrn_provider_counter_set_init_from_file(set.get(), dir.file("none").c_str()));
    EXPECT_TRUE(vrn_provider_counter_set_is_initialized(set.get()));
}

TEST(CounterSet, FlatEntriesNameTheArgumentThatIsMissing) {
    const vrn_provider_counter_set_ptr owner(vrn_provider_counter_set_create());
    vrn_provider_counter_set_t hollow{nullptr};
    vrn_provider_counter_set_t *set = owner.get();
    const char *const lines[] = {nullptr};
    CapturedLog log;
    EXPECT_FALSE(vrn_provider_counter_set_init_from_file(set, nullptr));
    EXPECT_FALSE(vrn_provider_counter_set_init_from_file(set, ""));
    EXPECT_FALSE(vrn_provider_counter_set_init_from_lines(set, lines, 1));
    EXPECT_FALSE(vrn_provider_counter_set_should_include_counter(nullptr, "a"));
    EXPECT_FALSE(vrn_provider_counter_set_should_include_counter(set, nullptr));
    EXPECT_EQ(vrn_provider_counter_set_get_counter_alias(set, nullptr), nullptr);
    EXPECT_EQ(vrn_provider_counter_set_get_name(&hollow), nullptr);
    EXPECT_FALSE(vrn_provider_counter_set_is_initialized(nullptr));
    vrn_provider_counter_set_print_configuration(&hollow);
    const std::string p = "3 [vrn_provider_counter_set_";
    EXPECT_EQ(log.take(),
              (Lines{p + "init_from_file] missing cset_filename parameter",
                     "3 [loadFromFile] empty filename",
                     p + "init_from_lines] Failed to initialize ProviderCounterSet from lines",
                     p + "should_include_counter] missing counter_set parameter",
                     p + "should_include_counter] missing counter_name parameter",
                     p + "get_counter_alias] missing counter_name parameter",
                     p + "get_name] counter_set is empty",
                     p + "is_initialized] missing counter_set parameter",
                     p + "print_configuration] counter_set is empty"}));
}

}  // namespace
}  // namespace vrn::test
