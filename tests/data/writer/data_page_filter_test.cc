#include "data/writer/data_page_filter.h"

#include <array>

#include "support/page_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

// Texts of allowed and excluded tags, of allowed and excluded scope, and scope files likewise.
using Settings = std::array<std::string, 6>;

vrn_data_page_filter_t make_filter(const Settings &s) {
    vrn_data_page_filter_t filter;
    vrn_data_page_filter_init(&filter, s[0], s[1], s[2], s[3], s[4], s[5], "[test] ");
    return filter;
}

bool accepts(const vrn_data_page_filter_t &filter, const std::string &source,
             const std::string &tag) {
    vrn_data_page_t page = {};
    page.source = make_source(source, tag);
    return vrn_data_page_filter_accepts_page(filter, page);
}

Lines prefixed(char level, const Lines &texts) {
    Lines lines;
    for (const auto &text : texts) lines.push_back(level + (" [data page filter] [test] " + text));
    return lines;
}

TEST(DataPageFilter, DecidesByTagAndThenBySource) {
    const std::string full_tag(16, 't');
    const std::string full_source(64, 's');
    // clang-format off
    const struct {
        Settings settings; std::string source, tag;
        const char *why;  // skipped; silently when empty, not at all when null
    } cases[] = {
        {{}, "s", "t", nullptr},
        {{"a*"}, "s", "ab", nullptr},
        {{"a*"}, "s", "b", "tag 'b' - not in allowed tags list"},
        {{"", "a"}, "s", "a", "tag 'a' - in excluded tags list"},
        {{"", "a"}, "s", "b", nullptr},
        {{"EMPTY"}, "s", "", nullptr},
        {{"EMPTY"}, "s", "t", "tag 't' - not in allowed tags list"},
        {{"SELF"}, "s", "t", nullptr},
        {{"", "", "SELF"}, "node1", "t", nullptr},
        {{"", "", "SELF"}, "node2", "t", "source 'node2' - not in allowed scope list"},
        {{"", "", "", "*2"}, "node2", "t", "source 'node2' - in excluded scope list"},
        {{"a", "", "b"}, "s", "t", "tag 't' - not in allowed tags list"},
        {{"a*", "ab"}, "s", "ab", "tag 'ab' - in excluded tags list"},
        // All excluded drops silently, unless a list of all that is allowed opens both dimensions.
        {{"", "*"}, "s", "t", ""},
        {{"t", "", "", "ALL"}, "s", "t", ""},
        {{"ALL", "*"}, "s", "t", nullptr},
        {{"ALL", "t"}, "s", "t", nullptr},
        {{"ALL", "*", "s"}, "s", "t", ""},
        {{full_tag, "", full_source}, full_source, full_tag, nullptr},
    };
    // clang-format on
    const ScopedEnv host("VRN_HOST_NAME", "node1");
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.settings));
        const vrn_data_page_filter_t filter = make_filter(c.settings);
        CapturedLog log(7);
        EXPECT_EQ(accepts(filter, c.source, c.tag), !c.why);
        const bool is_told = c.why && *c.why;
        EXPECT_EQ(log.take(), is_told
                                  ? prefixed('7', {"Skipping data page with " + std::string(c.why)})
                                  : Lines{});
    }
}

std::string conflict(const std::string &lists) {
    return "Configuration conflict: allowed " + lists + " and excluded " + lists +
           " are both configured. Cannot configure both allowed and excluded " + lists +
           " at the same time. Undefined behavior.";
}

TEST(DataPageFilter, ReportsConflictsAndSettings) {
    const std::string found =
        "Conflicts found in allowed and excluded tags or scope, the behavior is undefined";
    const std::string all_tags = "tag filtering disabled - all tags will be exported";
    const std::string all_sources = "scope filtering disabled - all sources will be exported";
    const std::string tags_a = "tag filtering enabled - allowed tags: a";
    const std::string no_tags = "excluded tag filtering enabled - excluded tags: ALL";
    const std::string scope_b = "scope filtering enabled - allowed sources: b*";
    const std::string no_d = "excluded scope filtering enabled - excluded sources: d";
    // clang-format off
    const struct { Settings settings; bool accept_all, reject_all; Lines errors, config; } cases[] = {
        {{}, true, false, {}, {all_tags, all_sources}},
        {{"a", "", "b*"}, false, false, {}, {tags_a, scope_b}},
        {{"", "*", "", "d"}, false, true, {}, {all_tags, no_tags, all_sources, no_d}},
        {{"a", "*"}, false, true, {conflict("tags"), found}, {tags_a, no_tags, all_sources}},
        {{"", "", "b*", "d"}, false, false, {conflict("scope"), found}, {all_tags, scope_b, no_d}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.settings));
        CapturedLog log(7);
        const vrn_data_page_filter_t filter = make_filter(c.settings);
        EXPECT_EQ(filter.accept_all, c.accept_all);
        EXPECT_EQ(filter.reject_all, c.reject_all);
        EXPECT_EQ(log.take(), c.errors.empty() ? prefixed('7', {"Configuration is valid"})
                                               : prefixed('3', c.errors));
        vrn_data_page_filter_print_config(filter);
        EXPECT_EQ(log.take(), prefixed('6', c.config));
    }
}

TEST(DataPageFilter, AddsTheEntriesOfScopeFiles) {
    const TempDir dir;
    const std::string path = dir.write("scope", "SELF\nb*  # a pattern\n");
    const ScopedEnv host("VRN_HOST_NAME", "node1");
    const vrn_data_page_filter_t allowed = make_filter({"", "", "c", "", path});
    const vrn_data_page_filter_t excluded = make_filter({"", "", "", "", "", path});
    for (const std::string source : {"node1", "b2", "c", "d"}) {
        EXPECT_EQ(accepts(allowed, source, "t"), source != "d") << source;
        EXPECT_EQ(accepts(excluded, source, "t"), source == "c" || source == "d") << source;
    }
}

TEST(DataPageFilter, IgnoresScopeFilesThatCannotBeLoaded) {
    const TempDir dir;
    const std::string bad = dir.write("scope", "a\n" + std::string(1025, 'x') + "\n");
    CapturedLog log(3);
    const vrn_data_page_filter_t filter = make_filter({"", "", "b", "", bad, "x..y"});
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
