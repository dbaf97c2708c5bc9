#include "data/data_page_filter.h"

#include <gtest/gtest.h>

#include "support/captured_log.h"
#include "support/temp_dir.h"

namespace vrn::test {
namespace {

using Lines = std::vector<std::string>;

// The six settings, each "" unless a test names it.
struct Settings {
    std::string allowed_tags = {};
    std::string excluded_tags = {};
    std::string allowed_scope = {};
    std::string excluded_scope = {};
    std::string allowed_scope_file = {};
    std::string excluded_scope_file = {};
};

vrn_data_page_filter_t make_filter(const Settings &s) {
    vrn_data_page_filter_t filter;
    vrn_data_page_filter_init(&filter, s.allowed_tags, s.excluded_tags, s.allowed_scope,
                              s.excluded_scope, s.allowed_scope_file, s.excluded_scope_file,
                              "[test] ");
    return filter;
}

vrn_data_page_t make_page(const std::string &source, const std::string &tag) {
    vrn_data_page_t page = {};
    source.copy(page.source.source, sizeof page.source.source);
    tag.copy(page.source.tag, sizeof page.source.tag);
    return page;
}

std::string skipped(const std::string &text) {
    return "7 [data page filter] [test] Skipping data page with " + text;
}

TEST(DataPageFilter, DecidesByTagAndThenBySource) {
    const struct {
        const char *name;
        Settings settings;
        std::string source;
        std::string tag;
        Lines log;  // of the decision
        bool accepted;
    } cases[] = {
        {"nothing configured", {}, "s", "t", {}, true},
        {"allowed tag", {.allowed_tags = "a*"}, "s", "ab", {}, true},
        {"other tag",
         {.allowed_tags = "a*"},
         "s",
         "b",
         {skipped("tag 'b' - not in allowed tags list")},
         false},
        {"excluded tag",
         {.excluded_tags = "a"},
         "s",
         "a",
         {skipped("tag 'a' - in excluded tags list")},
         false},
        {"not the excluded tag", {.excluded_tags = "a"}, "s", "b", {}, true},
        {"empty tag", {.allowed_tags = "EMPTY"}, "s", "", {}, true},
        {"no empty tag",
         {.allowed_tags = "EMPTY"},
         "s",
         "t",
         {skipped("tag 't' - not in allowed tags list")},
         false},
        {"own name", {.allowed_scope = "SELF"}, "node1", "t", {}, true},
        {"not the own name",
         {.allowed_scope = "SELF"},
         "node2",
         "t",
         {skipped("source 'node2' - not in allowed scope list")},
         false},
        {"excluded source",
         {.excluded_scope = "*2"},
         "node2",
         "t",
         {skipped("source 'node2' - in excluded scope list")},
         false},
        {"the tag is asked first",
         {.allowed_tags = "a", .allowed_scope = "b"},
         "s",
         "t",
         {skipped("tag 't' - not in allowed tags list")},
         false},
        {"both lists: allowed first",
         {.allowed_tags = "a*", .excluded_tags = "ab"},
         "s",
         "ab",
         {skipped("tag 'ab' - in excluded tags list")},
         false},
        {"all excluded, silently", {.excluded_tags = "*"}, "s", "t", {}, false},
        {"all sources excluded",
         {.allowed_tags = "t", .excluded_scope = "ALL"},
         "s",
         "t",
         {},
         false},
        {"all allowed beats all excluded",
         {.allowed_tags = "ALL", .excluded_tags = "*"},
         "s",
         "t",
         {},
         true},
        {"but not with a closed scope",
         {.allowed_tags = "ALL", .excluded_tags = "*", .allowed_scope = "s"},
         "s",
         "t",
         {},
         false},
        {"all allowed and some excluded",
         {.allowed_tags = "ALL", .excluded_tags = "t"},
         "s",
         "t",
         {},
         true},
        {"full fields",
         {.allowed_tags = "0123456789abcdef", .allowed_scope = std::string(64, 'x')},
         std::string(64, 'x'),
         "0123456789abcdef",
         {},
         true},
    };
    const ScopedEnv host("VRN_HOST_NAME", "node1");
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log(7);
        const vrn_data_page_filter_t filter = make_filter(c.settings);
        log.take();
        EXPECT_EQ(vrn_data_page_filter_accepts_page(filter, make_page(c.source, c.tag)),
                  c.accepted);
        EXPECT_EQ(log.take(), c.log);
    }
}

constexpr char tags_conflict[] =
    "3 [data page filter] [test] Configuration conflict: allowed tags and excluded tags are both "
    "configured. Cannot configure both allowed and excluded tags at the same time. Undefined "
    "behavior.";
constexpr char scope_conflict[] =
    "3 [data page filter] [test] Configuration conflict: allowed scope and excluded scope are both "
    "configured. Cannot configure both allowed and excluded scope at the same time. Undefined "
    "behavior.";
constexpr char conflicts_found[] =
    "3 [data page filter] [test] Conflicts found in allowed and excluded tags or scope, the "
    "behavior is undefined";
constexpr char valid[] = "7 [data page filter] [test] Configuration is valid";

TEST(DataPageFilter, ReportsConflictsAndSettings) {
    const struct {
        const char *name;
        Settings settings;
        bool accept_all;
        bool reject_all;
        Lines log;
        Lines config;  // without level and prefix
    } cases[] = {
        {"nothing",
         {},
         true,
         false,
         {valid},
         {"tag filtering disabled - all tags will be exported",
          "scope filtering disabled - all sources will be exported"}},
        {"SELF is no tag",
         {.allowed_tags = "SELF"},
         true,
         false,
         {"4 [data page filter] Skipped value 'SELF' - not supported for tag filtering", valid},
         {"tag filtering disabled - all tags will be exported",
          "scope filtering disabled - all sources will be exported"}},
        {"allowed",
         {.allowed_tags = "a", .allowed_scope = "b*"},
         false,
         false,
         {valid},
         {"tag filtering enabled - allowed tags: a",
          "scope filtering enabled - allowed sources: b*"}},
        {"excluded",
         {.excluded_tags = "*", .excluded_scope = "b"},
         false,
         true,
         {valid},
         {"tag filtering disabled - all tags will be exported",
          "excluded tag filtering enabled - excluded tags: ALL",
          "scope filtering disabled - all sources will be exported",
          "excluded scope filtering enabled - excluded sources: b"}},
        {"both",
         {.allowed_tags = "a", .excluded_tags = "b", .allowed_scope = "c", .excluded_scope = "d"},
         false,
         false,
         {tags_conflict, scope_conflict, conflicts_found},
         {"tag filtering enabled - allowed tags: a",
          "excluded tag filtering enabled - excluded tags: b",
          "scope filtering enabled - allowed sources: c",
          "excluded scope filtering enabled - excluded sources: d"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log(7);
        const vrn_data_page_filter_t filter = make_filter(c.settings);
        EXPECT_EQ(filter.accept_all, c.accept_all);
        EXPECT_EQ(filter.reject_all, c.reject_all);
        EXPECT_EQ(log.take(), c.log);
        vrn_data_page_filter_print_config(filter);
        Lines expected;
        for (const auto &line : c.config) expected.push_back("6 [data page filter] [test] " + line);
        EXPECT_EQ(log.take(), expected);
    }
}

TEST(DataPageFilter, AddsTheEntriesOfScopeFiles) {
    const TempDir dir;
    const std::string path = dir.write("scope", "SELF\nb*  # a pattern\n");
    const ScopedEnv host("VRN_HOST_NAME", "node1");
    const vrn_data_page_filter_t allowed =
        make_filter({.allowed_scope = "c", .allowed_scope_file = path});
    const vrn_data_page_filter_t excluded = make_filter({.excluded_scope_file = path});
    for (const char *source : {"node1", "b2", "c", "d"}) {
        SCOPED_TRACE(source);
        const vrn_data_page_t page = make_page(source, "t");
        EXPECT_EQ(vrn_data_page_filter_accepts_page(allowed, page), *source != 'd');
        EXPECT_EQ(vrn_data_page_filter_accepts_page(excluded, page),
                  *source == 'c' || *source == 'd');
    }
}

TEST(DataPageFilter, IgnoresScopeFilesThatCannotBeLoaded) {
    const TempDir dir;
    const std::string bad = dir.write("scope", "a\n" + std::string(1025, 'x') + "\n");
    CapturedLog log(3);
    const vrn_data_page_filter_t filter = make_filter(
        {.allowed_scope = "b", .allowed_scope_file = bad, .excluded_scope_file = "x..y"});
    const std::string line = "Line 2 exceeds maximum length 1024 characters in file: " + bad;
    const std::string path = "File path contains path traversal sequences: x..y";
    EXPECT_EQ(log.take(),
              (Lines{"3 [data page filter] " + line,
                     "3 [data page filter] [test] Failed to parse allowed scope file: " + line +
                         ". Allowed scope from file will be ignored.",
                     "3 [data page filter] " + path,
                     "3 [data page filter] [test] Failed to parse excluded scope file: " + path +
                         ". Excluded scope from file will be ignored."}));
    EXPECT_EQ(vrn_value_filter_describe(filter.allowed_scope), "b");
    EXPECT_TRUE(filter.excluded_scope.is_empty);
}

}  // namespace
}  // namespace vrn::test
