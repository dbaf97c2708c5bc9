#include "data/selection/provider_name.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>

#include "data/selection/name_filter.h"
#include "utils/log.h"

namespace {

constexpr std::string_view file_prefix = "lib";
constexpr std::string_view events_prefix = "events_";
constexpr std::string_view file_suffix = "_provider.so";

// Empty when the file name is not that of a provider.
std::string_view name_in(const char *file_name) {
    if (!file_name) return {};
    std::string_view name = file_name;
    // At least one character has to remain between the two.
    if (name.size() <= file_prefix.size() + file_suffix.size()) return {};
    if (!name.starts_with(file_prefix) || !name.ends_with(file_suffix)) return {};
    name.remove_prefix(file_prefix.size());
    name.remove_suffix(file_suffix.size());
    // A provider may be called "events_": alone, the prefix is the name.
    if (name.size() > events_prefix.size() && name.starts_with(events_prefix))
        name.remove_prefix(events_prefix.size());
    return name;
}

bool contains_text(const vrn_string_array_t *list, std::string_view text) {
    return std::ranges::any_of(vrn_string_array_items(list),
                               [text](const char *item) { return text == item; });
}

// The decision for an enabled provider; true unless it is also disabled.
bool allow_unless_disabled(const char *name, bool disabled) {
    if (disabled)
        VRN_LOG(VRN_LOG_WARNING,
                "'%s' will not run. specified in disable-provider and in enable-provider.", name);
    return !disabled;
}

std::optional<std::string_view> component_stem(std::string_view item) {
    const std::size_t dot = item.rfind('.');
    if (dot == std::string_view::npos) return std::nullopt;
    // The last dot: "a.b.conf" selects by "a.b".
    return item.substr(0, dot);
}

}  // namespace

bool vrn_provider_name_from_file_name(const char *file_name, char **out_name) {
    const std::string_view name = name_in(file_name);
    if (name.empty()) return false;
    char *copy = strndup(name.data(), name.size());
    if (!copy) {
        VRN_LOG(VRN_LOG_ERROR, "Error: unable to allocate memory for provider name");
        return false;
    }
    *out_name = copy;
    return true;
}

bool vrn_provider_name_from_path(const char *path, char **out_name) {
    if (!path || !out_name) return false;
    const char *slash = std::strrchr(path, '/');
    return vrn_provider_name_from_file_name(slash ? slash + 1 : path, out_name);
}

bool vrn_provider_is_enabled(const char *name, const vrn_string_array_t *enabled,
                             const vrn_string_array_t *disabled) {
    return vrn_string_array_match(name, enabled, VRN_MATCH_WILDCARD) &&
           allow_unless_disabled(name, vrn_string_array_match(name, disabled, VRN_MATCH_WILDCARD));
}

bool vrn_provider_is_enabled_contains(const char *name, const vrn_string_array_t *enabled,
                                      const vrn_string_array_t *disabled) {
    const bool is_enabled = vrn_string_array_match(name, enabled, VRN_MATCH_WILDCARD) ||
                            vrn_string_array_match(name, enabled, VRN_MATCH_CONTAINS);
    return is_enabled &&
           allow_unless_disabled(name, vrn_string_array_match(name, disabled, VRN_MATCH_CONTAINS));
}

bool vrn_provider_file_is_enabled(const char *file_name, const vrn_string_array_t *enabled,
                                  const vrn_string_array_t *disabled) {
    const std::string_view name = name_in(file_name);
    if (name.empty()) {
        VRN_LOG(VRN_LOG_WARNING, "unable to extract provider name from file name %s", file_name);
        return false;
    }
    // By equal texts, unlike the two above, which take the name itself.
    return contains_text(enabled, name) &&
           allow_unless_disabled(file_name, contains_text(disabled, name));
}

bool vrn_provider_is_selected(const char *name, const vrn_provider_options_t *options) {
    // A host that names no list runs everything.
    if (!options || (!options->enabled && !options->disabled)) return true;
    return vrn_provider_is_enabled(name, options->enabled, options->disabled);
}

bool vrn_component_matches_name(const char *text, const vrn_string_array_t *components) {
    return std::ranges::any_of(vrn_string_array_items(components), [text](const char *item) {
        const auto stem = component_stem(item);
        return stem && std::string_view(text).find(*stem) != std::string_view::npos;
    });
}

bool vrn_component_matches_provider(const char *file_name, const vrn_string_array_t *components) {
    const std::string_view name = name_in(file_name);
    if (name.empty()) return false;
    return std::ranges::any_of(vrn_string_array_items(components),
                               [name](const char *item) { return component_stem(item) == name; });
}
