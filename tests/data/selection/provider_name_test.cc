#include "data/selection/provider_name.h"

#include "support/string_lists.h"
#include "support/test.h"

namespace vrn::test {
namespace {

TEST(ProviderName, ComesFromTheFileName) {
    // clang-format off
    const struct {
        bool (*parse)(const char *, char **); const char *file, *expected;
    } cases[] = {
        {vrn_provider_name_from_file_name, "libfoo_provider.so", "foo"},
        {vrn_provider_name_from_file_name, "libevents_foo_provider.so", "foo"},
        {vrn_provider_name_from_file_name, "libevents__provider.so", "events_"},
        {vrn_provider_name_from_file_name, "libevents_events_a_provider.so", "events_a"},
        {vrn_provider_name_from_file_name, "lib_provider.so", nullptr},
        {vrn_provider_name_from_file_name, "libfoo_provider.so.1", nullptr},
        {vrn_provider_name_from_file_name, "Libfoo_provider.so", nullptr},
        {vrn_provider_name_from_file_name, "", nullptr},
        {vrn_provider_name_from_file_name, nullptr, nullptr},
        {vrn_provider_name_from_path, "/lib/libb_provider.so/liba_provider.so", "a"},
        {vrn_provider_name_from_path, "liba_provider.so/", nullptr},
        {vrn_provider_name_from_path, nullptr, nullptr},
    };
    // clang-format on
    CapturedLog log;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.file ? c.file : "null");
        char *raw = nullptr;
        EXPECT_EQ(c.parse(c.file, &raw), c.expected != nullptr);
        EXPECT_STREQ(CString(raw).get(), c.expected);
    }
    EXPECT_FALSE(vrn_provider_name_from_path("liba_provider.so", nullptr));
    EXPECT_EQ(log.take(), Lines{});
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
    for (const vrn_provider_options_t *options : {&none, &enabled})
        EXPECT_TRUE(vrn_provider_is_selected("foo", options));
    for (const vrn_provider_options_t *options : {&disabled, &enabled})
        EXPECT_FALSE(vrn_provider_is_selected("bar", options));
    EXPECT_TRUE(vrn_provider_is_selected("foo", nullptr));
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
