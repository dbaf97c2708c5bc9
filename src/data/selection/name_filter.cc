#include "data/selection/name_filter.h"

#include <fnmatch.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "utils/log.h"
#include "utils/name_table.h"

namespace {

bool wildcard_fits(const char *pattern, const char *text) {
    return fnmatch(pattern, text, FNM_CASEFOLD) == 0;
}

// A pattern with ".*" added to it, without a heap block unless it is a very long one.
class TailedPattern {
  public:
    explicit TailedPattern(std::string_view pattern) {
        constexpr std::string_view tail = ".*";
        const std::size_t size = pattern.size() + tail.size() + 1;
        if (size > sizeof near_) far_.reset(static_cast<char *>(std::malloc(size)));
        text_ = size > sizeof near_ ? far_.get() : near_;
        if (!text_) return;
        *std::ranges::copy(tail, std::ranges::copy(pattern, text_).out).out = '\0';
    }
    const char *text() const { return text_; }  // null: out of memory

  private:
    // Names of types are short; a heap block for each item of each match would show in a profile.
    char near_[256];
    vrn::CString far_;
    char *text_;
};

bool match_any_wildcard(const char *text, const vrn_string_array_t *patterns) {
    for (const char *item : vrn_string_array_items(patterns)) {
        // An item also stands for its dotted children: "foo" fits "foo.bar", but not "foobar".
        if (wildcard_fits(item, text)) return true;
        const TailedPattern tailed(item);
        if (!tailed.text()) {
            VRN_LOG(VRN_LOG_ERROR, "Error: unable to allocate memory for wildcard string search");
            return false;
        }
        if (wildcard_fits(tailed.text(), text)) return true;
    }
    return false;
}

// Byte order, as strcmp has it, whatever the locale.
void sort_names(vrn_string_array_t *names) {
    std::ranges::sort(names->strings, names->strings + names->count, {},
                      [](const char *name) { return std::string_view(name); });
}

bool merge_mandatory(vrn_string_array_t **names, const vrn_string_array_t *mandatory) {
    // Mandatory names are kept whether or not the source knows them.
    if (!vrn_string_array_extend(names, mandatory)) {
        VRN_LOG(VRN_LOG_ERROR, "could not join mandatory counters properly to names array");
        return false;
    }
    sort_names(*names);
    if (!vrn_string_array_remove_duplicates(names, true)) {
        VRN_LOG(VRN_LOG_ERROR, "could not remove duplicates from string array");
        return false;
    }
    return true;
}

vrn_string_array_t *include_and_exclude(const vrn_string_array_t *names,
                                        const vrn_string_array_t *include,
                                        const vrn_string_array_t *exclude, std::uint32_t mode) {
    // In this order: excluding from nothing gives nothing, so an empty include list keeps no name.
    const vrn_string_array_ptr included(vrn_string_array_filter(names, include, mode, true));
    return included ? vrn_string_array_filter(included.get(), exclude, mode, false) : nullptr;
}

}  // namespace

const char *vrn_filter_match_mode_name(std::uint32_t mode) {
    return vrn_match_type_name(mode);
}

std::uint32_t vrn_filter_match_mode_from_name(const char *name) {
    return vrn_match_type_from_name(name);
}

bool vrn_string_array_match(const char *text, const vrn_string_array_t *patterns,
                            std::uint32_t mode) {
    const auto items = vrn_string_array_items(patterns);
    switch (mode) {
        case VRN_MATCH_EXACT:
            return std::ranges::any_of(
                items, [text](const char *item) { return std::strcmp(text, item) == 0; });
        case VRN_MATCH_WILDCARD:
            return match_any_wildcard(text, patterns);
        case VRN_MATCH_CONTAINS:
            return std::ranges::any_of(
                items, [text](const char *item) { return std::strstr(text, item) != nullptr; });
        // "regexp" has a name and no meaning: nothing matches in that mode. Deliberate.
        default:
            return false;
    }
}

vrn_string_array_t *vrn_string_array_filter(const vrn_string_array_t *names,
                                            const vrn_string_array_t *patterns, std::uint32_t mode,
                                            bool want) {
    vrn_string_array_t *kept = vrn_string_array_create();
    if (!kept) return nullptr;
    for (const char *name : vrn_string_array_items(names)) {
        if (vrn_string_array_match(name, patterns, mode) != want) continue;
        if (!vrn_string_array_append(&kept, name)) {
            vrn_string_array_free(kept);
            return nullptr;
        }
    }
    return kept;
}

vrn_string_array_t *vrn_match_counter_names(const vrn_string_array_t *names,
                                            const vrn_string_array_t *include,
                                            const vrn_string_array_t *exclude,
                                            const vrn_string_array_t *mandatory,
                                            std::uint32_t mode) {
    vrn_string_array_t *kept = include_and_exclude(names, include, exclude, mode);
    const bool has_mandatory = !vrn_string_array_items(mandatory).empty();
    if (!kept || (has_mandatory && !merge_mandatory(&kept, mandatory))) {
        VRN_LOG(VRN_LOG_ERROR, "failed to match counter names");
        vrn_string_array_free(kept);
        return nullptr;
    }
    // Repeats stay here, and go only where mandatory names could have caused them.
    if (!has_mandatory) sort_names(kept);
    return kept;
}
