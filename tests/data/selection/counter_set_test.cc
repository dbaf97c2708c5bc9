#include "data/selection/counter_set.h"

#include "data/selection/provider_counter_set.h"
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
    const std::string no_pattern = " — missing field name or pattern after '='";
    // clang-format off
    const struct { const char *line, *entry; std::string warning; } cases[] = {
        {"total = ^port_rcv", "[^port_rcv], alias: [total]", ""}, {"a=b=c", "[b=c], alias: [a]", ""},
        {"=x", "[x], alias: []", ""}, {" x\t\r", "[x], alias: []", ""}, {"a==", "[=], alias: [a]", ""},
        {" = ", nullptr, "=" + no_pattern}, {"# a=b", nullptr, ""},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.line);
        CapturedLog log;
        ProviderCounterSet set;
        EXPECT_EQ(set.loadFromLines(Lines{c.line}), c.entry != nullptr);
        set.printConfiguration();
        Lines expected = {"6 [printConfiguration] '' configuration:"};
        if (!c.warning.empty())
            expected.insert(expected.begin(), "4 [loadFromLines] Invalid line: " + c.warning);
        expected.push_back(std::string("6 [printConfiguration] Initialized: ") +
                           (c.entry ? "yes" : "no"));
        if (c.entry)
            expected.push_back(std::string("6 [printConfiguration] Counter pattern: ") + c.entry);
        EXPECT_EQ(log.take(), expected);
    }
}

TEST(CounterSet, SmallestPatternGivesTheAlias) {
    ProviderCounterSet set, empty;
    ASSERT_TRUE(set.loadFromLines(Lines{"exact=abc", "old=^a", "prefix=^a", "plain"}));
    const std::string nothing = ", return empty string";
    // clang-format off
    const struct { ProviderCounterSet &set; const char *counter, *alias; std::string log; } cases[] = {
        {set, "abc", "prefix", "Counter 'abc' matches pattern '^a', return alias 'prefix'"},
        {set, "plain", "", "Counter 'plain' matches pattern 'plain', return alias ''"},
        {set, "b", "", "Counter 'b' not found in any pattern" + nothing},
        {set, "", "", "Empty counter name" + nothing},
        {empty, "a", "", "No counter patterns defined in counter_pattern_to_alias_" + nothing},
    };
    // clang-format on
    for (const auto &c : cases) {
        CapturedLog log(7);
        EXPECT_EQ(c.set.getCounterAlias(c.counter), c.alias);
        EXPECT_EQ(log.take(), Lines{"7 [getCounterAlias] " + c.log});
    }
}

TEST(CounterSet, KeepsTheTagsAskedFor) {
    const Lines lines = {
        "#unit= old", "# unit = no", "#unit= bytes ", "#units=many", "#uni t=x", "# scope=a=b",
        "x"};
    ProviderCounterSet set;
    EXPECT_TRUE(set.loadFromLines(lines, Lines{"unit", "scope", "uni"}));
    EXPECT_EQ(set.user_tags(),
              (std::unordered_map<std::string, std::string>{{"unit", "bytes"}, {"scope", "a=b"}}));
    EXPECT_TRUE(set.loadFromLines(lines));
    EXPECT_TRUE(set.user_tags().empty());
}

TEST(CounterSet, LoadsAFileThroughTheFlatEntries) {
    const TempDir dir;
    const std::string path = dir.write("net.cset", "a=^x\n");
    CapturedLog log(7);
    const vrn_provider_counter_set_ptr owner(vrn_provider_counter_set_create());
    vrn_provider_counter_set_t *set = owner.get();
    EXPECT_TRUE(vrn_provider_counter_set_init_from_file(set, path.c_str()));
    const std::string file = "7 [loadFromFile] ", lines = "7 [loadFromLines] ";
    EXPECT_EQ(
        log.take(),
        (Lines{file + "loading cset file " + path, file + "a=^x", file + "-----------------------",
               lines + "Loading cset file from lines...", lines + "Trimmed line: 'a=^x'",
               lines + "Parsed: counter_pattern='^x', alias='a'",
               lines + "Add mapping: counter_pattern=^x -> alias=a "
                       "(counter_pattern_to_alias_)"}));
    EXPECT_TRUE(vrn_provider_counter_set_should_include_counter(set, "xy"));
    EXPECT_FALSE(vrn_provider_counter_set_should_include_counter(set, "y"));
    EXPECT_STREQ(CString(vrn_provider_counter_set_get_counter_alias(set, "xy")).get(), "a");
    EXPECT_STREQ(CString(vrn_provider_counter_set_get_name(set)).get(), "net");
    // A failed load of another file leaves the entries alone.
    EXPECT_FALSE(vrn_provider_counter_set_init_from_file(set, dir.file("none").c_str()));
    EXPECT_TRUE(vrn_provider_counter_set_is_initialized(set));
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
