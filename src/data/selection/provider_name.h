// Names of providers, taken from the file names of their plug-ins, and the lists that select them.
// All lists may be null.
#pragma once

#include "utils/string_array.h"

// Which providers a host wants. Both lists are borrowed.
struct vrn_provider_options_t {
    const vrn_string_array_t *enabled;
    const vrn_string_array_t *disabled;
};

// Name in "lib<name>_provider.so" or "libevents_<name>_provider.so", for the caller to free. False,
// without a line, for any other text.
[[nodiscard]] bool vrn_provider_name_from_file_name(const char *file_name, char **out_name);
// Takes the name from what follows the last '/'.
[[nodiscard]] bool vrn_provider_name_from_path(const char *path, char **out_name);

// True when wildcards of `enabled` match and none of `disabled`; a warning when both do.
bool vrn_provider_is_enabled(const char *name, const vrn_string_array_t *enabled,
                             const vrn_string_array_t *disabled);
// With substrings, by which `enabled` matches as well and `disabled` only.
bool vrn_provider_is_enabled_contains(const char *name, const vrn_string_array_t *enabled,
                                      const vrn_string_array_t *disabled);
// With equal texts, for the name in `file_name`; a warning also when it holds none.
bool vrn_provider_file_is_enabled(const char *file_name, const vrn_string_array_t *enabled,
                                  const vrn_string_array_t *disabled);
// True without options, and with options that hold no list.
bool vrn_provider_is_selected(const char *name, const vrn_provider_options_t *options);

// Components are items such as "foo.conf", which select by what precedes their last '.'; items
// without one select nothing.
bool vrn_component_matches_name(const char *text, const vrn_string_array_t *components);
bool vrn_component_matches_provider(const char *file_name, const vrn_string_array_t *components);
