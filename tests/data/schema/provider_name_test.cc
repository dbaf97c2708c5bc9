#include "data/schema/provider_name.h"

#include "support/string_lists.h"
#include "support/test.h"

namespace vrn::test {
namespace {

TEST(ProviderName, ComesFromTheFileName) {
    // clang-format off
    const struct { const char *file, *expected; } cases[] = {
        {"libfoo_provider.so", "foo"}, {"libevents_foo_provider.so", "foo"},
        {"libevents__provider.so", "events_"}, {"libevents_events_a_provider.so", "events_a"},
        {"lib_provider.so", nullptr}, {"libfoo_provider.so.1", nullptr},
        {"Libfoo_provider.so", nullptr}, {"", nullptr}, {nullptr, nullptr},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.file ? c.file : "null");
        CapturedLog log;
        char *raw = nullptr;
        EXPECT_EQ(vrn_provider_name_from_file_name(c.file, &raw), c.expected != nullptr);
        const CString name(raw);
        EXPECT_STREQ(name.get(), c.expected);
        EXPECT_EQ(log.take(), Lines{});
    }
}

TEST(ProviderName, OfAPathIsBehindTheLastSlash) {
    char *raw = nullptr;
    EXPECT_TRUE(vrn_provider_name_from_path("/lib/libb_provider.so/liba_provider.so", &raw));
    EXPECT_STREQ(CString(raw).get(), "a");
    EXPECT_FALSE(vrn_provider_name_from_path("liba_provider.so/", &raw));
    EXPECT_FALSE(vrn_provider_name_from_path(nullptr, &raw));
    EXPECT_FALSE(vrn_provider_name_from_path("liba_provider.so", nullptr));
}

TEST(ProviderName, ListsDecideEachInTheirLanguage) {
    const std::string both =
        "4 '%' will not run. specified in disable-provider and in enable-provider.";
    const auto warned = [&](const char *name) {
        return Lines{std::string(both).replace(both.find('%'), 1, name)};
    };
    using IsEnabled = bool(const char *, const vrn_string_array_t *, const vrn_string_array_t *);
    // clang-format off
    const struct {
        IsEnabled *is_enabled; const char *name; Lines enabled, disabled; bool expected; Lines log;
    } cases[] = {
        {vrn_provider_is_enabled, "foo", {"F*"}, {"bar"}, true, {}},
        {vrn_provider_is_enabled, "foo", {"oo"}, {}, false, {}},
        {vrn_provider_is_enabled, "foo", {"foo"}, {"f*"}, false, warned("foo")},
        {vrn_provider_is_enabled, "foo", {}, {"f*"}, false, {}},
        {vrn_provider_is_enabled_contains, "foo", {"oo"}, {"f*"}, true, {}},
        {vrn_provider_is_enabled_contains, "foo", {"F*"}, {"oo"}, false, warned("foo")},
        {vrn_provider_is_enabled_contains, "foo", {"bar"}, {"oo"}, false, {}},
        {vrn_provider_file_is_enabled, "libfoo_provider.so", {"x", "foo"}, {"f*"}, true, {}},
        {vrn_provider_file_is_enabled, "libfoo_provider.so", {"f*"}, {}, false, {}},
        {vrn_provider_file_is_enabled, "libfoo_provider.so", {"foo"}, {"foo"}, false,
         warned("libfoo_provider.so")},
        {vrn_provider_file_is_enabled, "foo", {"foo"}, {}, false,
         {"4 unable to extract provider name from file name foo"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.enabled) + testing::PrintToString(c.disabled));
        CapturedLog log;
        EXPECT_EQ(c.is_enabled(c.name, make_array(c.enabled).get(), make_array(c.disabled).get()),
                  c.expected);
        EXPECT_EQ(log.take(), c.log);
    }
}

TEST(ProviderName, WithoutListsEveryProviderIsSelected) {
    const auto list = make_array({"foo"});
    const vrn_provider_options_t none{nullptr, nullptr};
    const vrn_provider_options_t enabled{list.get(), nullptr};
    const vrn_provider_options_t disabled{nullptr, list.get()};
    EXPECT_TRUE(vrn_provider_is_selected("foo", nullptr));
    EXPECT_TRUE(vrn_provider_is_selected("foo", &none));
    EXPECT_TRUE(vrn_provider_is_selected("foo", &enabled));
    EXPECT_FALSE(vrn_provider_is_selected("bar", &enabled));
    EXPECT_FALSE(vrn_provider_is_selected("bar", &disabled));
}

TEST(ProviderName, ComponentsSelectByWhatPrecedesTheirLastDot) {
    const auto components = make_array({"plain", "a.b.conf", "foo.conf"});
    EXPECT_TRUE(vrn_component_matches_name("xfoox", components.get()));
    EXPECT_TRUE(vrn_component_matches_name("a.b", components.get()));
    EXPECT_FALSE(vrn_component_matches_name("plain a", components.get()));
    EXPECT_TRUE(vrn_component_matches_provider("libfoo_provider.so", components.get()));
    EXPECT_FALSE(vrn_component_matches_provider("libxfoox_provider.so", components.get()));
    EXPECT_FALSE(vrn_component_matches_provider("libplain_provider.so", components.get()));
    EXPECT_FALSE(vrn_component_matches_provider("foo", components.get()));
    EXPECT_FALSE(vrn_component_matches_name("foo", nullptr));
}

}  // namespace
}  // namespace vrn::test
